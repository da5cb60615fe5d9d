// Fills a folder with links to unstripped copies of the files a recording
// maps, each at the file's own path below the folder, so that zelconv -p
// FOLDER names the functions of stripped libraries. Copies are found by the
// build ids perf noted, in the system's debug directories.
#ifndef ZELCONV_IMPORT_SYMBOLLINKS_H
#define ZELCONV_IMPORT_SYMBOLLINKS_H

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "PerfFile.h"

class SymbolLinks {
public:
    // `root` stands in front of the debug directories ("" for the machine's own).
    SymbolLinks(std::string folder, std::string root);

    // Makes the folder; false, with error() set, when it cannot be made.
    bool prepare();
    void link(const std::vector<PerfBuildId>& buildIds);

    const std::string& error() const { return _error; }
    // One line: how many files were linked, and how many had no copy.
    std::string summary() const;

    // Where an unstripped copy of a file with this build id may lie, in order.
    std::vector<std::string> candidates(const PerfBuildId& buildId) const;

private:
    std::string _folder, _root, _error;
    std::set<std::string> _seen;
    uint64_t _linked = 0, _missing = 0, _failed = 0;
};

#endif
