// Storage for what the record walk keeps of every sample: the objects and
// their back-traces are carved one behind the other from large chunks, so a
// record costs no allocation of its own and no allocator overhead. Nothing
// is given back piece by piece; it all lives to the end of the run.
#ifndef ZELCONV_PERFRECORDARENA_H
#define ZELCONV_PERFRECORDARENA_H

#include <cstddef>
#include <vector>

class PerfRecordArena {
public:
    // Chunks grow from the first size to the last as the arena does. The
    // last is large enough that the C library maps each such chunk on its
    // own and gives it back to the system when it is freed, and small enough
    // that the chunk still being written adds little to the peak.
    static constexpr size_t kFirstChunkBytes = (size_t)64 << 10;
    static constexpr size_t kLastChunkBytes = (size_t)4 << 20;
    // The most one request may take.
    static constexpr size_t kMaxRequest = 4096;

    // `bytes` (at most kMaxRequest) of storage aligned for any object, valid
    // until its chunk is released.
    static void* allocate(size_t bytes);
    // Takes back everything allocated from `place` on, when that lies in the
    // chunk still being filled; otherwise nothing.
    static void takeBackFrom(void* place);
    // Frees the chunks allocated before the one that holds `place`, whose
    // contents the caller is done with; nothing when no chunk holds it.
    static void releaseBefore(const void* place);
    // Frees every chunk, for a harness that converts many inputs in one process.
    static void release();

private:
    // Chunks in order of allocation; those before _firstKept are freed.
    struct Chunk {
        char* bytes;
        size_t size;
    };
    static std::vector<Chunk> _chunks;
    static size_t _firstKept;
    static char* _next;
    static size_t _free;
};

#endif
