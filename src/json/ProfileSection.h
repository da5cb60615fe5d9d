// The frame every section of the profile document shares: a labelled,
// indented "descriptions" object naming the columns, then a compact "data"
// array of unlabelled rows between begin and end.
#ifndef ZELCONV_PROFILESECTION_H
#define ZELCONV_PROFILESECTION_H

#include <initializer_list>

class PerfJSONWriter;

struct ProfileColumn {
  const char* name;
  const char* description;
};

class ProfileSection {
 public:
  // Opens the section and its "data" array, and turns labels and white space off for the rows.
  static void begin(PerfJSONWriter& writer, const char* section,
                    std::initializer_list<ProfileColumn> columns);
  // Closes the "data" array and the section.
  static void end(PerfJSONWriter& writer);
};

#endif
