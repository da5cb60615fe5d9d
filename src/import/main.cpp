// zelconv-import: reads a perf.data recording of any perf (a file, or a pipe
// through "-") and writes it in the layout that zelconv reads, with a summary
// on standard output whose last line is the environment zelconv needs.
#include <fcntl.h>
#include <getopt.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

#include "Importer.h"
#include "PerfDataBuilder.h"
#include "PerfFile.h"
#include "SymbolLinks.h"

namespace {

const char kUsage[] =
    "Usage:  zelconv-import [options] INPUT OUTPUT\n"
    "Reads INPUT, a perf.data recording of perf 3.x to 6.x written to a file or a\n"
    "pipe (- reads standard input), and writes OUTPUT in the layout that zelconv\n"
    "reads. Prints what was read, written and dropped; the last line is the\n"
    "environment to give zelconv for this recording.\n"
    "\n"
    "  -s, --symbols DIR  link unstripped copies of the mapped files, found by their\n"
    "                     build ids in /usr/lib/debug, into DIR at their own paths,\n"
    "                     for zelconv -p DIR\n"
    "  -h, --help         print this help and exit\n"
    "\n"
    "Exit status: 0 when OUTPUT was written; 1 when INPUT could not be read or\n"
    "OUTPUT not written (OUTPUT is then left as it was); 2 for a wrong command line.\n";

int fail(const std::string& message)
{
    fprintf(stderr, "zelconv-import: %s\n", message.c_str());
    return 1;
}

bool readAll(int fd, std::string& out)
{
    struct stat info {};
    if (fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0 && (uint64_t)info.st_size < out.max_size())
        out.reserve((size_t)info.st_size);
    char buffer[1 << 16];
    for (;;) {
        const ssize_t got = read(fd, buffer, sizeof buffer);
        if (got == 0)
            return true;
        if (got < 0 && errno != EINTR)
            return false;
        if (got > 0)
            out.append(buffer, (size_t)got);
    }
}

// Writes beside the target and renames, so that OUTPUT is either the whole
// new file or untouched.
std::string writeWhole(const std::string& path, const std::string& bytes)
{
    std::string temporary = path + ".XXXXXX";
    const int fd = mkstemp(&temporary[0]);
    if (fd < 0)
        return "cannot write " + path + ": " + strerror(errno);
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t put = write(fd, bytes.data() + done, bytes.size() - done);
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            break;
        done += (size_t)put;
    }
    const int error = done == bytes.size() ? 0 : errno != 0 ? errno : EIO;
    // mkstemp makes the file private; give it the mode a new file gets.
    const mode_t mask = umask(0);
    umask(mask);
    const bool closed = fchmod(fd, 0666 & ~mask) == 0 && close(fd) == 0;
    if (error != 0 || !closed || rename(temporary.c_str(), path.c_str()) != 0) {
        const int cause = error != 0 ? error : errno;
        unlink(temporary.c_str());
        return "cannot write " + path + ": " + strerror(cause);
    }
    return "";
}

}  // namespace

int importRecording(int argc, char** argv)
{
    static const option longOptions[] = {
        {"help", no_argument, nullptr, 'h'}, {"symbols", required_argument, nullptr, 's'}, {nullptr, 0, nullptr, 0}};
    std::string symbols;
    int option;
    while ((option = getopt_long(argc, argv, "hs:", longOptions, nullptr)) != -1) {
        if (option == 'h') {
            fputs(kUsage, stdout);
            return 0;
        }
        if (option != 's' || optarg[0] == '\0') {
            fputs(kUsage, stderr);
            return 2;
        }
        symbols = optarg;
    }
    if (argc - optind != 2) {
        fputs(kUsage, stderr);
        return 2;
    }
    const std::string input = argv[optind], output = argv[optind + 1];

    std::string bytes;
    const int fd = input == "-" ? 0 : open(input.c_str(), O_RDONLY);
    if (fd < 0 || !readAll(fd, bytes))
        return fail("cannot read " + input + ": " + strerror(errno));
    if (fd != 0)
        close(fd);

    PerfFile file(std::move(bytes));
    if (!file.error().empty())
        return fail(input + ": " + file.error());
    // The machine's debug directories, under ZELCONV_SYSROOT when it is set (for tests).
    const char* root = getenv("ZELCONV_SYSROOT");
    SymbolLinks links(symbols, root != nullptr ? root : "");
    if (!symbols.empty() && !links.prepare())
        return fail(links.error());
    PerfDataBuilder converted;
    Importer importer(file);
    importer.run(converted);
    const std::string problem = writeWhole(output, converted.bytes());
    if (!problem.empty())
        return fail(problem);
    fputs(importer.summary().c_str(), stdout);
    if (!symbols.empty()) {
        links.link(file.buildIds());
        puts(links.summary().c_str());
    }
    puts(importer.environment().c_str());
    return 0;
}

int main(int argc, char** argv)
{
    // The recording and its conversion are held in memory, which a large
    // recording on a small device can exhaust.
    try {
        return importRecording(argc, argv);
    } catch (const std::bad_alloc&) {
        return fail("not enough memory for this recording");
    } catch (const std::length_error&) {
        return fail("not enough memory for this recording");
    }
}
