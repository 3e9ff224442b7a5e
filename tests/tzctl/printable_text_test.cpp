// What a name may hold on its way to an operator's terminal: UTF-8 at the
// edges of each range its lead byte allows, and the bytes that are not.
#include "tzctl/printable_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// clang-format off
const struct { const char* why; std::string text, shown; } cases[] = {
  {"plain text",                  "Europe/Paris",          "Europe/Paris"},
  {"a line end and a tab",        "a\nb\tc",               "a\\nb\\x09c"},
  {"DEL",                         "a\x7f",                 "a\\x7f"},
  {"two bytes, the first letter", "\xc2\xa0",              "\xc2\xa0"},
  {"C1's first control",          "\xc2\x80",              "\\xc2\\x80"},
  {"C1's last control",           "\xc2\x9f",              "\\xc2\\x9f"},
  {"an overlong two-byte form",   "\xc1\xbf",              "\\xc1\\xbf"},
  {"the first three-byte letter", "\xe0\xa0\x80",          "\xe0\xa0\x80"},
  {"an overlong three-byte form", "\xe0\x9f\xbf",          "\\xe0\\x9f\\xbf"},
  {"the last before surrogates",  "\xed\x9f\xbf",          "\xed\x9f\xbf"},
  {"a surrogate",                 "\xed\xa0\x80",          "\\xed\\xa0\\x80"},
  {"the line separator",          "\xe2\x80\xa8",          "\\xe2\\x80\\xa8"},
  {"the paragraph separator",     "\xe2\x80\xa9",          "\\xe2\\x80\\xa9"},
  {"beside the separators",       "\xe2\x80\xa7\xe2\x80\xaa", "\xe2\x80\xa7\xe2\x80\xaa"},
  {"the first four-byte letter",  "\xf0\x90\x80\x80",      "\xf0\x90\x80\x80"},
  {"an overlong four-byte form",  "\xf0\x8f\xbf\xbf",      "\\xf0\\x8f\\xbf\\xbf"},
  {"the last code point",         "\xf4\x8f\xbf\xbf",      "\xf4\x8f\xbf\xbf"},
  {"past the last code point",    "\xf4\x90\x80\x80",      "\\xf4\\x90\\x80\\x80"},
  {"a lead past U+10FFFF",        "\xf5\x80\x80\x80",      "\\xf5\\x80\\x80\\x80"},
  {"a continuation byte alone",   "a\x80z",                "a\\x80z"},
  {"a sequence cut by the end",   "a\xe2\x80",             "a\\xe2\\x80"},
  {"a sequence cut by a letter",  "\xe2\x80z",             "\\xe2\\x80z"},
};
// clang-format on

TEST(printable, shows_well_formed_utf8_and_escapes_the_rest) {
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(printable(c.text), c.shown);
  }
}

TEST(printable, escapes_what_the_caller_also_names) {
  EXPECT_EQ(printable("a b\"c", " \""), "a\\x20b\\x22c");
}

}  // namespace
