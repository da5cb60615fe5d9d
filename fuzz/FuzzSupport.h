// What the fuzz targets share: a private place on disk that stands for the
// machine, so that no input makes the converter run a program or read a file
// of the host; resetConverter() lets one fuzzing process convert input after
// input at the same cost each time.
#ifndef ZELCONV_FUZZ_FUZZSUPPORT_H
#define ZELCONV_FUZZ_FUZZSUPPORT_H

#include <string>

#include "ConverterReset.h"

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

#endif
