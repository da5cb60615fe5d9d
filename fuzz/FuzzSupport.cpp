#include "FuzzSupport.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "SystemFiles.h"

namespace {

// A kernel list with a few functions above the default kernel start, so that
// profile runs have kernel symbols to find.
const char* const kKernelSymbols =
    "c0008000 T stext\n"
    "c0008100 T do_fork\n"
    "c0008400 t schedule\n"
    "c0010000 W cpu_idle\n"
    "c0100000 T __irq_svc\n"
    "c0200000 T etext\n";

void makeDirectory(const std::string& path)
{
    if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
        perror(path.c_str());
        abort();
    }
}

}  // namespace

const std::string& fuzzSandbox()
{
    static std::string* root = nullptr;
    if (root != nullptr)
        return *root;
    resetConverter();  // takes the defaults before any input changes them
    char pattern[] = "/tmp/zelconv-fuzz-XXXXXX";
    if (mkdtemp(pattern) == nullptr) {
        perror("mkdtemp");
        abort();
    }
    root = new std::string(pattern);
    makeDirectory(*root + "/bin");
    makeDirectory(*root + "/tmp");
    makeDirectory(*root + "/root");
    makeDirectory(*root + "/root/proc");
    writeWholeFile(fuzzSystemRoot() + SystemFiles::kallsyms, kKernelSymbols);

    setenv("PATH", (*root + "/bin").c_str(), 1);
    setenv("ZELCONV_SYSROOT", fuzzSystemRoot().c_str(), 1);
    setenv("TMPDIR", (*root + "/tmp").c_str(), 1);
    for (const char* name : {"ZELVIEW_CONFIG", "DOCUMENT_ROOT", "BUILD_TYPE", "CHIP", "kern_ver", "ARM64"})
        unsetenv(name);
    return *root;
}

std::string fuzzSystemRoot() { return fuzzSandbox() + "/root"; }

void writeWholeFile(const std::string& path, const std::string& contents)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(contents.data(), (std::streamsize)contents.size());
    if (!out) {
        perror(path.c_str());
        abort();
    }
}
