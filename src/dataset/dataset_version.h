#pragma once

// A data set's version string in parsed form, so that data sets can be
// ordered. An unreadable string is warned about (two lines) and gives the
// unset value; only std::out_of_range (a number beyond 32 bits) escapes.

#include <cstdint>
#include <string>

class dataset_version {
 public:
  dataset_version() = default;
  explicit dataset_version(const std::string& text);

  void parse(const std::string& text);

  // Field by field, in declaration order; the unset value is lowest.
  friend bool operator>(const dataset_version& a, const dataset_version& b);
  friend bool operator==(const dataset_version& a,
                         const dataset_version& b) = default;

  std::int32_t number = -1;
  std::string letters;
  std::int32_t second_number = -1;  // -1: no first dot part
  std::int32_t third_number = -1;   // -1: no second dot part
};
