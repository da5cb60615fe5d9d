// The maps in ascending order of their sort key, each new map behind the last
// one with a strictly smaller key (so ahead of equal ones). The map search
// probes this order by index, so it must answer "the map at index i" as a
// plain sorted array would; it also takes a million inserts in any order
// without moving the whole array each time.
//
// The order is kept in blocks of bounded size with the index of each block's
// first map; an insert moves at most one block and the block starts behind
// it, a probe finds its block by binary search. Up to one block (the usual
// few hundred maps of a recording) it is a plain sorted array.
#ifndef ZELCONV_PERFMAPINDEX_H
#define ZELCONV_PERFMAPINDEX_H

#include <cstddef>
#include <cstdint>
#include <vector>

class PerfRecordMMap;

class PerfMapIndex {
public:
    static constexpr size_t kBlockLimit = 1024;

    size_t size() const { return _size; }
    bool empty() const { return _size == 0; }
    PerfRecordMMap* operator[](size_t index) const
    {
        if (_blocks.size() == 1)
            return _blocks.front()[index];
        return _lookUp(index);
    }
    void insert(PerfRecordMMap* map, uint64_t sortKey);
    void clear();

private:
    PerfRecordMMap* _lookUp(size_t index) const;

    std::vector<std::vector<PerfRecordMMap*>> _blocks;
    // Per block: the index of its first map, and the keys of its maps.
    std::vector<size_t> _starts;
    std::vector<std::vector<uint64_t>> _keys;
    size_t _size = 0;
};

#endif
