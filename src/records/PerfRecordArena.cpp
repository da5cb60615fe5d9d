#include "PerfRecordArena.h"

#include <cstddef>

std::vector<char*> PerfRecordArena::_chunks;
char* PerfRecordArena::_next = nullptr;
size_t PerfRecordArena::_free = 0;

void* PerfRecordArena::allocate(size_t bytes)
{
    const size_t alignment = alignof(std::max_align_t);
    bytes = (bytes + alignment - 1) & ~(alignment - 1);
    if (bytes > _free) {
        // A request too large for a chunk gets one of its own; the current chunk stays open.
        if (bytes > kChunkBytes / 4) {
            _chunks.push_back(new char[bytes]);
            return _chunks.back();
        }
        _chunks.push_back(new char[kChunkBytes]);
        _next = _chunks.back();
        _free = kChunkBytes;
    }
    void* place = _next;
    _next += bytes;
    _free -= bytes;
    return place;
}

void PerfRecordArena::release()
{
    for (char* chunk : _chunks)
        delete[] chunk;
    _chunks.clear();
    _next = nullptr;
    _free = 0;
}
