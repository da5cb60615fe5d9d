#include "ProfileSection.h"

#include "PerfJSONWriter.h"

void ProfileSection::begin(PerfJSONWriter& writer, const char* section,
                           std::initializer_list<ProfileColumn> columns) {
  writer.setWhiteSpace(true);
  writer.setIncludeLabels(true);
  writer.newElementStart(section);
  writer.newElementStart("descriptions");
  for (const ProfileColumn& column : columns) writer.writeNamed(column.name, column.description);
  writer.newElementEnd();
  writer.writeArrayStart("data");
  writer.setWhiteSpace(false);
  writer.setIncludeLabels(false);
}

void ProfileSection::end(PerfJSONWriter& writer) {
  writer.writeArrayEnd();
  writer.newElementEnd();
}
