// Runs the built zelconv binary in a fresh temporary directory, with the
// fixed system files redirected under that directory, and captures its
// output file, standard output, standard error and exit status.
#ifndef ZELCONV_TESTS_CONVERTERRUN_H
#define ZELCONV_TESTS_CONVERTERRUN_H

#include <map>
#include <string>
#include <vector>

class PerfDataBuilder;

struct RunResult {
    int status = -1;
    std::string out;            // standard output
    std::string err;            // standard error
    bool outputExists = false;  // whether the output file was created
    std::string output;         // its contents
};

class ConverterRun {
public:
    ConverterRun();
    ~ConverterRun();
    ConverterRun(const ConverterRun&) = delete;
    ConverterRun& operator=(const ConverterRun&) = delete;

    const std::string& dir() const { return _dir; }
    // A path inside the run's directory.
    std::string path(const std::string& name) const;

    // Writes the recording as perf.data in the run's directory.
    ConverterRun& input(const PerfDataBuilder& builder, const std::string& name = "perf.data");
    // Writes a file in the run's directory (parents are created).
    ConverterRun& file(const std::string& name, const std::string& contents);
    // Writes one of the machine's fixed files (such as "/proc/uptime") under the redirected root.
    ConverterRun& systemFile(const std::string& absolutePath, const std::string& contents);
    ConverterRun& env(const std::string& name, const std::string& value);
    // Puts a directory first on PATH.
    ConverterRun& prependPath(const std::string& directory);

    // Runs zelconv with `args` and the output file named `outputName`.
    RunResult run(const std::vector<std::string>& args, const std::string& outputName = "perf.json");
    // Runs zelconv-import likewise, with `standardInput` (a file) as its standard input if given.
    RunResult runImporter(const std::vector<std::string>& args, const std::string& outputName,
                          const std::string& standardInput = "");

private:
    RunResult runProgram(const char* binary, const std::vector<std::string>& args, const std::string& outputName,
                         const std::string& standardInput);

    std::string _dir;
    std::map<std::string, std::string> _env;
    std::string _pathPrefix;
};

std::string readFile(const std::string& path);

// An expected document kept under tests/golden/.
std::string golden(const std::string& name);

#endif
