// The ICU schema search alone, as a whole process: the ICU component of
// one update data set, constructed once as a boot does for each update it
// weighs. Its warning line for a tree without data goes to stderr.
#include "dataset/mira_icu.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const mira_icu icu(argv[1]);
  return 0;
}
