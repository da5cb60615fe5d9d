#include "ConverterRun.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "PerfDataBuilder.h"

namespace fs = std::filesystem;

std::string readFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::stringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

ConverterRun::ConverterRun()
{
    std::string pattern = (fs::temp_directory_path() / "zelconv-test-XXXXXX").string();
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (mkdtemp(buffer.data()) == nullptr)
        throw std::runtime_error("mkdtemp failed");
    _dir = buffer.data();
    fs::create_directories(_dir + "/root");
}

ConverterRun::~ConverterRun()
{
    std::error_code ignored;
    fs::remove_all(_dir, ignored);
}

std::string ConverterRun::path(const std::string& name) const { return _dir + "/" + name; }

ConverterRun& ConverterRun::input(const PerfDataBuilder& builder, const std::string& name)
{
    builder.writeTo(path(name));
    return *this;
}

ConverterRun& ConverterRun::file(const std::string& name, const std::string& contents)
{
    fs::path target = path(name);
    fs::create_directories(target.parent_path());
    std::ofstream out(target, std::ios::binary | std::ios::trunc);
    out << contents;
    return *this;
}

ConverterRun& ConverterRun::systemFile(const std::string& absolutePath, const std::string& contents)
{
    return file("root" + absolutePath, contents);
}

ConverterRun& ConverterRun::env(const std::string& name, const std::string& value)
{
    _env[name] = value;
    return *this;
}

ConverterRun& ConverterRun::prependPath(const std::string& directory)
{
    _pathPrefix = directory + ":" + _pathPrefix;
    return *this;
}

// With ZELCONV_KEEP_INPUTS set to a directory, every recording a test converts
// is copied there, named after the test, so that other builds of the converter
// can be run on the same inputs and their documents compared.
static void keepInput(const std::string& dir, const std::vector<std::string>& args)
{
    const char* keep = getenv("ZELCONV_KEEP_INPUTS");
    if (keep == nullptr || *keep == '\0')
        return;
    std::string input = "perf.data";
    for (size_t i = 0; i + 1 < args.size(); i++)
        if (args[i] == "-i")
            input = args[i + 1];
    fs::path source = fs::path(dir) / input;
    std::error_code error;
    if (!fs::is_regular_file(source, error))
        return;
    static int count = 0;
    const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = test != nullptr ? std::string(test->test_suite_name()) + "." + test->name() : "run";
    for (char& c : name)
        if (c == '/')
            c = '_';
    fs::copy_file(source, fs::path(keep) / (name + "." + std::to_string(++count) + ".data"),
                  fs::copy_options::overwrite_existing, error);
}

RunResult ConverterRun::run(const std::vector<std::string>& args, const std::string& outputName)
{
    keepInput(_dir, args);
    return runProgram(ZELCONV_BINARY, args, outputName, "");
}

RunResult ConverterRun::runImporter(const std::vector<std::string>& args, const std::string& outputName,
                                    const std::string& standardInput)
{
    return runProgram(ZELCONV_IMPORT_BINARY, args, outputName, standardInput);
}

RunResult ConverterRun::runProgram(const char* binary, const std::vector<std::string>& args,
                                   const std::string& outputName, const std::string& standardInput)
{
    std::string outPath = path("stdout.txt");
    std::string errPath = path("stderr.txt");
    std::string output = path(outputName);

    // The environment the converter sees: the test's variables only, plus
    // PATH and the redirected root of the machine's files.
    std::map<std::string, std::string> environment = _env;
    const char* hostPath = getenv("PATH");
    environment["PATH"] = _pathPrefix + (hostPath != nullptr ? hostPath : "/usr/bin:/bin");
    if (environment.find("ZELCONV_SYSROOT") == environment.end())
        environment["ZELCONV_SYSROOT"] = path("root");
    std::vector<std::string> envStrings;
    for (const auto& [name, value] : environment)
        envStrings.push_back(name + "=" + value);

    // A cross-built converter runs through the emulator that runs the tests.
    std::vector<std::string> argStrings;
    if (*ZELCONV_EMULATOR != '\0')
        argStrings.push_back(ZELCONV_EMULATOR);
    argStrings.push_back(binary);
    argStrings.insert(argStrings.end(), args.begin(), args.end());

    pid_t child = fork();
    if (child < 0)
        throw std::runtime_error("fork failed");
    if (child == 0) {
        if (chdir(_dir.c_str()) != 0)
            _exit(126);
        int outFd = ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        int errFd = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (outFd < 0 || errFd < 0)
            _exit(126);
        if (!standardInput.empty()) {
            int inFd = ::open(standardInput.c_str(), O_RDONLY);
            if (inFd < 0 || dup2(inFd, 0) < 0)
                _exit(126);
        }
        dup2(outFd, 1);
        dup2(errFd, 2);
        // Nothing but the standard streams is inherited, so that the
        // converter's descriptors are numbered as when a shell starts it.
        close_range(3, ~0U, 0);
        std::vector<char*> argv;
        for (auto& a : argStrings)
            argv.push_back(a.data());
        argv.push_back(nullptr);
        std::vector<char*> envp;
        for (auto& e : envStrings)
            envp.push_back(e.data());
        envp.push_back(nullptr);
        execve(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    int waitStatus = 0;
    waitpid(child, &waitStatus, 0);

    RunResult result;
    result.status = WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 128 + WTERMSIG(waitStatus);
    result.out = readFile(outPath);
    result.err = readFile(errPath);
    result.outputExists = fs::exists(output);
    if (result.outputExists)
        result.output = readFile(output);
    return result;
}

std::string golden(const std::string& name)
{
    return readFile(std::string(ZELCONV_SOURCE_DIR) + "/tests/golden/" + name);
}
