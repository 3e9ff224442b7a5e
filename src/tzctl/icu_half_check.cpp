// Tested by tests/scenarios/tzctl_install.scn.
#include "tzctl/icu_half_check.h"

#include <err.h>  // warnx

#include "tzctl/icu_resource.h"
#include "tzctl/install_refused.h"
#include "tzctl/printable_text.h"

namespace {

// The layout of ICU's time-zone resources has not changed since ICU 4.4:
// a schema is that format and the byte order's letter.
constexpr char resource_format[] = "44";

std::string checked_schema(const std::string& path,
                           const std::string& system_schema) {
  const auto letter = resource_bundle_letter(path);
  if (!letter) {
    warnx("resource check failed for %s: not an ICU resource bundle",
          path.c_str());
    throw install_refused();
  }
  const std::string schema = resource_format + std::string(1, *letter);
  if (schema == system_schema) return schema;
  warnx("schema check failed for %s: schema %s, the system's is %s",
        path.c_str(), schema.c_str(), printable(system_schema).c_str());
  throw install_refused();
}

void check_opens(const std::string& icu_directory, const std::string& name) {
  std::string error;
  if (icu_opens(icu_directory, name.substr(0, name.size() - 4), error)) return;
  warnx("open check failed for %s/%s: the system's ICU cannot open it (%s)",
        icu_directory.c_str(), name.c_str(), error.c_str());
  throw install_refused();
}

}  // namespace

std::string check_icu_half(const std::string& icu_directory,
                           const std::string& system_schema,
                           const std::string& zoneinfo_version) {
  std::string schema;
  for (const char* name : icu_resource_names) {
    schema = checked_schema(icu_directory + "/" + name, system_schema);
    check_opens(icu_directory, name);
  }
  const std::string icu_version = icu_tz_version(icu_directory);
  if (icu_version == zoneinfo_version) return schema;
  warnx("release check failed for %s/zoneinfo64.res: TZVersion %s, the "
        "zoneinfo's %s",
        icu_directory.c_str(), printable(icu_version).c_str(),
        zoneinfo_version.c_str());
  throw install_refused();
}
