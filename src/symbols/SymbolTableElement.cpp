#include "SymbolTableElement.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "FileNames.h"
#include "PerfJSONWriter.h"
#include "Settings.h"

uint32_t SymbolTableElement::_runningIndex = 0;

SymbolTableElement::SymbolTableElement()
    : _key(0),
      _useCount(0),
      _used(false),
      _flag(false),
      _name(""),
      _address(0),
      _size(0),
      _file(nullptr),
      _lineNumber(0)
{
    _setFile(nullptr);
}

SymbolTableElement::SymbolTableElement(const char* name, unsigned long long address, unsigned long long size,
                                       FileNames* file, unsigned int line)
    : _key(0),
      _useCount(0),
      _used(false),
      _flag(false),
      _name(""),
      _address(address),
      _size(size > kMaxSize ? 0 : size),
      _file(nullptr),
      _lineNumber(line)
{
    if (name != nullptr) {
        const size_t length = strlen(name);
        _ownName.reset(new char[length + 1]);
        memcpy(_ownName.get(), name, length + 1);
        _name = std::string_view(_ownName.get(), length);
    }
    _announce(file);
}

SymbolTableElement::SymbolTableElement(KeptName name, unsigned long long address, unsigned long long size,
                                       FileNames* file, unsigned int line)
    : _key(0),
      _useCount(0),
      _used(false),
      _flag(false),
      _name(name.text),
      _address(address),
      _size(size > kMaxSize ? 0 : size),
      _file(nullptr),
      _lineNumber(line)
{
    _announce(file);
}

void SymbolTableElement::_announce(FileNames* file)
{
    if (gVerbosity > 0)
        show();
    _setFile(file);
}

SymbolTableElement::~SymbolTableElement()
{
    if (_ownsFile) {
        delete _file;
    } else if (_used && _file != nullptr) {
        // A shared file outlives its symbols; it must not keep a pointer to this one.
        auto& symbols = _file->_symbols;
        symbols.erase(std::remove(symbols.begin(), symbols.end(), this), symbols.end());
    }
}

void SymbolTableElement::_setFile(FileNames* file)
{
    // A symbol always points at a file: the given one, the shared empty one,
    // or, before that exists, an empty object of its own.
    _ownsFile = file == nullptr && FileNames::_emptyRef == nullptr;
    _file = file != nullptr ? file : _ownsFile ? new FileNames() : FileNames::_emptyRef;
}

unsigned int SymbolTableElement::markUsed(unsigned long long)
{
    if (!_used) {
        if (_file != nullptr)
            _file->markUsed(this);
        _used = true;
    }
    _useCount++;
    return _key;
}

void SymbolTableElement::setMapKey(unsigned int key)
{
    if (key != 0 && (key == _recentMapKeys[0] || key == _recentMapKeys[1]))
        return;
    if (std::find(_mapKeys.begin(), _mapKeys.end(), key) == _mapKeys.end())
        _mapKeys.push_back(key);
    _recentMapKeys[1] = _recentMapKeys[0];
    _recentMapKeys[0] = key;
}

void SymbolTableElement::show()
{
    printf("SYMB k:%05d a:%08llx l:%05llx u%05d n:%s\n", (int)_key, (unsigned long long)_address,
           (unsigned long long)_size, (int)_useCount, _name.data());
}

void SymbolTableElement::out(PerfJSONWriter& writer, unsigned int)
{
    writer.writeArrayStart(nullptr);
    writer.writeNamed("key", (unsigned int)_key);
    // Names this short are left-overs of the parse, not real function names.
    writer.writeNamed("name", _name.size() < 4 ? "*BlankName*" : _name.data());
    writer.writeNamed("startAddress", (unsigned long long)_address);
    writer.writeNamed("sectionSize", (unsigned long long)_size);
    writer.writeArrayStart("mapkeys");
    for (uint32_t mapKey : _mapKeys)
        writer.writeNamed("mk", (unsigned int)mapKey);
    writer.writeArrayEnd();
    writer.writeArrayEnd();
}
