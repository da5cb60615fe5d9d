// The file names of the maps, each text kept once: a recording maps the same
// libraries into many processes, and a name costs no allocation of its own.
#ifndef ZELCONV_PERFNAMEPOOL_H
#define ZELCONV_PERFNAMEPOOL_H

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

class PerfNamePool {
public:
    // A zero-terminated copy of `name`, the same one for equal texts, valid
    // until release(). Nothing writes through it.
    static char* keep(std::string_view name);
    // Frees every name, for a harness that converts many inputs in one process.
    static void release();

private:
    static void _grow();

    static std::vector<std::unique_ptr<char[]>> _blocks;
    static char* _next;
    static size_t _left;
    // Open addressing over the kept names, at most half full; null is a free slot.
    static std::vector<char*> _slots;
    static size_t _count;
};

#endif
