#include "PerfRecordArena.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

std::vector<PerfRecordArena::Chunk> PerfRecordArena::_chunks;
size_t PerfRecordArena::_firstKept = 0;
char* PerfRecordArena::_next = nullptr;
size_t PerfRecordArena::_free = 0;

namespace {

bool holds(const char* start, size_t size, const void* place)
{
    // Compared as integers: the chunks are separate allocations.
    return (uintptr_t)place >= (uintptr_t)start && (uintptr_t)place < (uintptr_t)start + size;
}

}  // namespace

void* PerfRecordArena::allocate(size_t bytes)
{
    const size_t alignment = alignof(std::max_align_t);
    bytes = (bytes + alignment - 1) & ~(alignment - 1);
    if (bytes > kMaxRequest)
        abort();
    if (bytes > _free) {
        // Each chunk doubles the last, so a small run takes little and a large one few chunks.
        size_t size = _chunks.empty() ? kFirstChunkBytes : _chunks.back().size * 2;
        if (size > kLastChunkBytes)
            size = kLastChunkBytes;
        _chunks.push_back({new char[size], size});
        _next = _chunks.back().bytes;
        _free = size;
    }
    void* place = _next;
    _next += bytes;
    _free -= bytes;
    return place;
}

void PerfRecordArena::takeBackFrom(void* place)
{
    if (_chunks.empty() || _firstKept == _chunks.size())
        return;
    char* byte = static_cast<char*>(place);
    if (!holds(_chunks.back().bytes, _chunks.back().size, byte) || (uintptr_t)byte > (uintptr_t)_next)
        return;
    _free += (size_t)(_next - byte);
    _next = byte;
}

void PerfRecordArena::releaseBefore(const void* place)
{
    size_t holder = _firstKept;
    while (holder < _chunks.size() && !holds(_chunks[holder].bytes, _chunks[holder].size, place))
        holder++;
    if (holder == _chunks.size())
        return;
    for (; _firstKept < holder; _firstKept++) {
        delete[] _chunks[_firstKept].bytes;
        _chunks[_firstKept].bytes = nullptr;
    }
}

void PerfRecordArena::release()
{
    for (Chunk& chunk : _chunks)
        delete[] chunk.bytes;
    _chunks.clear();
    _firstKept = 0;
    _next = nullptr;
    _free = 0;
}
