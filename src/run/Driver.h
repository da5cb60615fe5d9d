// One conversion from start to end, in the order of its stages.
#ifndef ZELCONV_DRIVER_H
#define ZELCONV_DRIVER_H

class PerfReader;
class PerfJSONWriter;

// The whole run of the program; returns the exit status of a run that reaches its end.
int runConverter(int argc, char** argv);

// The record loop: reads records until a read returns 0 at the end of the input.
void walkRecords(PerfReader& reader);

#endif
