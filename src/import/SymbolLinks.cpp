#include "SymbolLinks.h"

#include <filesystem>

namespace fs = std::filesystem;

SymbolLinks::SymbolLinks(std::string folder, std::string root) : _folder(std::move(folder)), _root(std::move(root)) {}

bool SymbolLinks::prepare()
{
    std::error_code error;
    fs::create_directories(_folder, error);
    if (error || !fs::is_directory(_folder)) {
        _error = "cannot make " + _folder + ": " + (error ? error.message() : "not a folder");
        return false;
    }
    return true;
}

// The debug directory's tree by build id (Debian's -dbg and -dbgsym
// packages), then its tree by path.
std::vector<std::string> SymbolLinks::candidates(const PerfBuildId& buildId) const
{
    const std::string debug = _root + "/usr/lib/debug";
    return {debug + "/.build-id/" + buildId.id.substr(0, 2) + "/" + buildId.id.substr(2) + ".debug",
            debug + buildId.fileName + ".debug", debug + buildId.fileName};
}

void SymbolLinks::link(const std::vector<PerfBuildId>& buildIds)
{
    for (const PerfBuildId& buildId : buildIds) {
        // Only files; "[kernel.kallsyms]" and "[vdso]" are not, and ".." would leave the folder.
        if (buildId.fileName.empty() || buildId.fileName[0] != '/' || buildId.id.size() < 3 ||
            buildId.fileName.find("/../") != std::string::npos || !_seen.insert(buildId.fileName).second)
            continue;
        std::error_code error;
        std::string found;
        for (const std::string& candidate : candidates(buildId))
            if (found.empty() && fs::is_regular_file(candidate, error))
                found = candidate;
        if (found.empty()) {
            _missing++;
            continue;
        }
        const fs::path target = _folder + buildId.fileName;
        fs::create_directories(target.parent_path(), error);
        fs::remove(target, error);
        fs::create_symlink(fs::absolute(found, error), target, error);
        if (error)
            _failed++;
        else
            _linked++;
    }
}

std::string SymbolLinks::summary() const
{
    std::string out = "symbols: " + std::to_string(_linked) + " files linked in " + _folder + ", " +
                      std::to_string(_missing) + " without an unstripped copy in " + _root + "/usr/lib/debug";
    if (_failed != 0)
        out += ", " + std::to_string(_failed) + " links that could not be made";
    return out;
}
