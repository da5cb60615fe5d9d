#include "FileNames.h"

#include <cstring>

#include "PerfJSONWriter.h"
#include "ProfileSection.h"
#include "SymbolTableElement.h"

FileNames* FileNames::_emptyRef = nullptr;
std::map<std::string, FileNames*> FileNames::_fileTable;
uint32_t FileNames::_runningKey = 0;
std::string FileNames::_ogServer = ZELCONV_DEFAULT_OG_SERVER;
std::string FileNames::_ogProtocol = "http";
bool FileNames::_ogFunctionOnlyLookup = false;

FileNames::FileNames() : _name("***EMPTY FILE_REF***"), _key(0) {}

FileNames::FileNames(const char* name) : _name(name), _key(++_runningKey)
{
    _fileTable.emplace(_name, this);  // an existing entry of this name stays
}

void FileNames::createEmptyRef()
{
    if (_emptyRef == nullptr)
        _emptyRef = new FileNames();
}

FileNames* FileNames::findOrCreate(const char* name)
{
    // Such short texts are not taken for file names.
    if (name == nullptr || strlen(name) <= 4)
        return _emptyRef;
    auto found = _fileTable.find(name);
    if (found != _fileTable.end())
        return found->second;
    return new FileNames(name);
}

void FileNames::markUsed(SymbolTableElement* element) { _symbols.push_back(element); }

void FileNames::out(PerfJSONWriter& writer)
{
    // The empty object (key 0) gathers every symbol without a source, and is never written.
    if (_symbols.empty() || _key == 0)
        return;
    writer.writeArrayStart(nullptr);
    writer.writeNamed("key", (unsigned int)_key);
    writer.writeNamed("name", _name.c_str());
    writer.writeArrayStart("symbols");
    for (SymbolTableElement* symbol : _symbols) {
        writer.writeArrayStart("sym");
        writer.writeNamed("symkey", (unsigned int)symbol->_key);
        writer.writeNamed("lineNum", (unsigned int)symbol->_lineNumber);
        writer.writeArrayEnd();
    }
    writer.writeArrayEnd();
    writer.writeArrayEnd();
}

void FileNames::outAll(PerfJSONWriter& writer)
{
    ProfileSection::begin(writer, "files",
                          {{"key", "key for this symbol"},
                           {"name", "name of this symbol"},
                           {"symbols.ref", "ref to symbol using this file"},
                           {"symbols.linenum", "ref to line number"}});
    for (auto& [name, file] : _fileTable)
        file->out(writer);
    ProfileSection::end(writer);
}
