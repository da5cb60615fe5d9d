// The map order answers every index as a sorted array with equal keys in
// reverse order of arrival would, whatever the order of the inserts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "PerfMapIndex.h"

TEST(PerfMapIndex, ProbesAsAPlainSortedArrayOverRandomInserts)
{
    // Stand-ins for maps: the order never looks behind the pointers.
    std::vector<char> maps(6000);
    std::mt19937_64 random(42);
    // Keys rising, falling, in scattered order, and drawn from a few values so that ties abound.
    const int kinds = 4;
    for (int kind = 0; kind < kinds; kind++) {
        PerfMapIndex index;
        std::vector<std::pair<uint64_t, PerfRecordMMap*>> reference;
        for (size_t i = 0; i < maps.size(); i++) {
            uint64_t key = kind == 0 ? i : kind == 1 ? maps.size() - i : kind == 2 ? random() : random() % 7;
            key <<= 16;
            PerfRecordMMap* map = reinterpret_cast<PerfRecordMMap*>(&maps[i]);
            index.insert(map, key);
            auto place = std::lower_bound(reference.begin(), reference.end(), key,
                                          [](const auto& entry, uint64_t k) { return entry.first < k; });
            reference.insert(place, {key, map});
            if (i % 997 == 0 || i + 1 == maps.size()) {
                ASSERT_EQ(index.size(), reference.size());
                for (size_t at = 0; at < reference.size(); at++)
                    ASSERT_EQ(index[at], reference[at].second) << "kind " << kind << " at " << at << " of " << i;
            }
        }
    }
}
