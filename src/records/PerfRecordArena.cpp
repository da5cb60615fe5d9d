#include "PerfRecordArena.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

std::vector<char*> PerfRecordArena::_chunks;
size_t PerfRecordArena::_firstKept = 0;
char* PerfRecordArena::_next = nullptr;
size_t PerfRecordArena::_free = 0;

void* PerfRecordArena::allocate(size_t bytes)
{
    const size_t alignment = alignof(std::max_align_t);
    bytes = (bytes + alignment - 1) & ~(alignment - 1);
    if (bytes > kMaxRequest)
        abort();
    if (bytes > _free) {
        _chunks.push_back(new char[kChunkBytes]);
        _next = _chunks.back();
        _free = kChunkBytes;
    }
    void* place = _next;
    _next += bytes;
    _free -= bytes;
    return place;
}

void PerfRecordArena::takeBackFrom(void* place)
{
    char* byte = static_cast<char*>(place);
    if (_chunks.empty() || _firstKept == _chunks.size())
        return;
    char* current = _chunks.back();
    if ((uintptr_t)byte < (uintptr_t)current || (uintptr_t)byte > (uintptr_t)_next)
        return;
    _free += (size_t)(_next - byte);
    _next = byte;
}

void PerfRecordArena::releaseBefore(const void* place)
{
    const char* byte = static_cast<const char*>(place);
    size_t holder = _firstKept;
    // Compared as integers: the chunks are separate allocations.
    while (holder < _chunks.size() && !((uintptr_t)byte >= (uintptr_t)_chunks[holder] &&
                                        (uintptr_t)byte < (uintptr_t)_chunks[holder] + kChunkBytes))
        holder++;
    if (holder == _chunks.size())
        return;
    for (; _firstKept < holder; _firstKept++) {
        delete[] _chunks[_firstKept];
        _chunks[_firstKept] = nullptr;
    }
}

void PerfRecordArena::release()
{
    for (char* chunk : _chunks)
        delete[] chunk;
    _chunks.clear();
    _firstKept = 0;
    _next = nullptr;
    _free = 0;
}
