// One source file and the used symbols found in it; the class also owns the
// table of all files and the one empty object that symbols without a known
// source point at, so a symbol's file reference is never null.
#ifndef ZELCONV_FILENAMES_H
#define ZELCONV_FILENAMES_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

class SymbolTableElement;
class PerfJSONWriter;

// Host and port of the source-search service named in the -S help text.
#define ZELCONV_DEFAULT_OG_SERVER "localhost:8080"

class FileNames {
public:
    FileNames();
    explicit FileNames(const char* name);
    virtual ~FileNames() = default;
    // Writes this file as one row of the "files" section, if it has a key and used symbols.
    virtual void out(PerfJSONWriter& writer);

    static void createEmptyRef();
    // The object for `name`, never null; names of 4 characters or fewer get the empty object.
    static FileNames* findOrCreate(const char* name);
    // Files a used symbol; its element calls this once, on its first use.
    void markUsed(SymbolTableElement* element);
    // Writes the "files" section of the profile document, in order of the name.
    static void outAll(PerfJSONWriter& writer);

    std::string _name;
    uint32_t _key;
    std::vector<SymbolTableElement*> _symbols;

    static FileNames* _emptyRef;
    static std::map<std::string, FileNames*> _fileTable;
    static uint32_t _runningKey;
    // Source-search settings: accepted from the command line and kept; nothing reads them.
    static std::string _ogServer;
    static std::string _ogProtocol;
    static bool _ogFunctionOnlyLookup;
};

#endif
