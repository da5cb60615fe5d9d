// The fixed files of the running machine that the converter reads or writes.
// Every such path is named here and nowhere else. Setting the environment
// variable ZELCONV_SYSROOT puts all of them under another root directory, so
// tests never touch the host's /proc, /sys or /dev.
#ifndef ZELCONV_SYSTEMFILES_H
#define ZELCONV_SYSTEMFILES_H

#include <string>

class SystemFiles {
public:
    static constexpr const char* kallsyms = "/proc/kallsyms";
    static constexpr const char* uptime = "/proc/uptime";
    static constexpr const char* softirqs = "/proc/softirqs";
    static constexpr const char* traceFile = "/sys/kernel/debug/tracing/trace";
    static constexpr const char* kmsg = "/dev/kmsg";
    // The capture's configuration and web root, where the counter files lie.
    static constexpr const char* zelviewConfig = "/opt/zelview/config/";
    static constexpr const char* zelviewWww = "/opt/zelview/www/";

    // The path to open for one of the names above, under ZELCONV_SYSROOT when it is set.
    static std::string path(const char* name);
    // The value of the environment variable `variable` when it is set, taken
    // as it is (even if empty); otherwise path(name).
    static std::string directory(const char* variable, const char* name);
};

#endif
