#include "PerfMapIndex.h"

#include <algorithm>

void PerfMapIndex::insert(PerfRecordMMap* map, uint64_t sortKey)
{
    if (_blocks.empty()) {
        _blocks.push_back({map});
        _keys.push_back({sortKey});
        _starts.push_back(0);
        _size = 1;
        return;
    }
    // The first key that is not smaller lies in the first block whose last
    // key is not smaller; when there is none the map goes to the very end.
    size_t block =
        (size_t)(std::partition_point(_keys.begin(), _keys.end(),
                                      [&](const std::vector<uint64_t>& keys) { return keys.back() < sortKey; }) -
                 _keys.begin());
    if (block == _blocks.size())
        block--;
    std::vector<uint64_t>& keys = _keys[block];
    const size_t place = (size_t)(std::lower_bound(keys.begin(), keys.end(), sortKey) - keys.begin());
    keys.insert(keys.begin() + (ptrdiff_t)place, sortKey);
    _blocks[block].insert(_blocks[block].begin() + (ptrdiff_t)place, map);
    for (size_t later = block + 1; later < _starts.size(); later++)
        _starts[later]++;
    _size++;

    if (keys.size() > kBlockLimit) {
        const size_t half = keys.size() / 2;
        std::vector<uint64_t> upperKeys(keys.begin() + (ptrdiff_t)half, keys.end());
        std::vector<PerfRecordMMap*> upperMaps(_blocks[block].begin() + (ptrdiff_t)half, _blocks[block].end());
        keys.resize(half);
        _blocks[block].resize(half);
        _keys.insert(_keys.begin() + (ptrdiff_t)block + 1, std::move(upperKeys));
        _blocks.insert(_blocks.begin() + (ptrdiff_t)block + 1, std::move(upperMaps));
        _starts.insert(_starts.begin() + (ptrdiff_t)block + 1, _starts[block] + half);
    }
}

PerfRecordMMap* PerfMapIndex::_lookUp(size_t index) const
{
    const size_t block = (size_t)(std::upper_bound(_starts.begin(), _starts.end(), index) - _starts.begin()) - 1;
    return _blocks[block][index - _starts[block]];
}

void PerfMapIndex::clear()
{
    _blocks.clear();
    _keys.clear();
    _starts.clear();
    _size = 0;
}
