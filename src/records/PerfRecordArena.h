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
    static constexpr size_t kChunkBytes = (size_t)1 << 20;

    // `bytes` of storage aligned for any object, valid until release().
    static void* allocate(size_t bytes);
    // Frees every chunk, for a harness that converts many inputs in one process.
    static void release();

private:
    static std::vector<char*> _chunks;
    static char* _next;
    static size_t _free;
};

#endif
