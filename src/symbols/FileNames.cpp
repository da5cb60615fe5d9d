#include "FileNames.h"

#include <cstring>

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
