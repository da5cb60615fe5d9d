#include "PerfMemoryReader.h"

#include <cstdint>
#include <cstring>

PerfMemoryReader::PerfMemoryReader(std::string bytes) : _bytes(std::move(bytes)), _position(0), _open(false) {}

int PerfMemoryReader::open(const char* name)
{
    if (name == nullptr)
        return -1;
    _open = true;
    _position = 0;
    return 0;
}

int PerfMemoryReader::read(char* buffer, int size)
{
    announceRead(size);
    if (!_open)
        return -1;
    size_t wanted = size < 0 ? 0 : (size_t)size;
    size_t left = _position < _bytes.size() ? _bytes.size() - _position : 0;
    size_t count = wanted < left ? wanted : left;
    if (count > 0)
        memcpy(buffer, _bytes.data() + _position, count);
    _position += count;
    _lastRead = (int)count;
    return _lastRead;
}

void PerfMemoryReader::close() { _open = false; }

// A negative offset fails like lseek does and leaves the position alone.
void PerfMemoryReader::seek(int offset)
{
    if (_open && offset >= 0)
        _position = (size_t)offset;
}
