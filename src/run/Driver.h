// One conversion from start to end, in the order of its stages.
#ifndef ZELCONV_DRIVER_H
#define ZELCONV_DRIVER_H

class PerfReader;
class PerfJSONWriter;

// The whole run of the program; returns the exit status of a run that reaches its end.
int runConverter(int argc, char** argv);

// The record loop: reads records until a read returns 0 at the end of the input.
void walkRecords(PerfReader& reader);

// The stages of a run between the options and the end, in their order. A
// caller that drives a run itself (a fuzz target over a memory image) calls
// them as runConverter does.
// The kernel's symbols (profile mode) and the table of synthetic symbols.
void loadSymbolTables();
// The file header, the event table and the record walk; an input without a
// header ends the run with "Invalid In File".
void readRecording(PerfReader& reader);
// The document of the chosen mode.
void writeDocument(PerfJSONWriter& writer);

#endif
