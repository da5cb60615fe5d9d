// What the fuzz targets share: a private place on disk that stands for the
// machine, so that no input makes the converter run a program or read a file
// of the host, and a reset that returns the converter's lasting tables to the
// state of a process that has not read a file yet, so that one fuzzing
// process can convert input after input at the same cost each time.
#ifndef ZELCONV_FUZZ_FUZZSUPPORT_H
#define ZELCONV_FUZZ_FUZZSUPPORT_H

#include <string>

// Makes the private place once: a temporary directory with an empty "bin"
// (which becomes PATH, so that nm is never found), a "root" that becomes
// ZELCONV_SYSROOT and holds a small kernel symbol list, and a "tmp" for
// TMPDIR. Clears the environment variables that point the converter at
// other files or change its layouts. Returns the directory.
const std::string& fuzzSandbox();

// The system root inside the sandbox.
std::string fuzzSystemRoot();

// Writes `contents` to `path`, replacing what was there.
void writeWholeFile(const std::string& path, const std::string& contents);

// Deletes every record, map, symbol table, file name and chart that the runs
// so far made, empties the tables that held them, starts every running key
// afresh, and sets the program-wide settings back to their defaults.
void resetConverter();

#endif
