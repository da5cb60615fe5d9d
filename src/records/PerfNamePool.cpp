#include "PerfNamePool.h"

#include <cstring>
#include <functional>

std::vector<std::unique_ptr<char[]>> PerfNamePool::_blocks;
char* PerfNamePool::_next = nullptr;
size_t PerfNamePool::_left = 0;
std::vector<char*> PerfNamePool::_slots;
size_t PerfNamePool::_count = 0;

namespace {

const size_t kBlockBytes = 64 << 10;

size_t slotOf(std::string_view name, size_t slots) { return std::hash<std::string_view>()(name) & (slots - 1); }

}  // namespace

char* PerfNamePool::keep(std::string_view name)
{
    if (2 * (_count + 1) > _slots.size())
        _grow();
    size_t slot = slotOf(name, _slots.size());
    for (; _slots[slot] != nullptr; slot = (slot + 1) & (_slots.size() - 1))
        if (name == _slots[slot])
            return _slots[slot];
    if (name.size() + 1 > _left) {
        const size_t size = name.size() + 1 > kBlockBytes ? name.size() + 1 : kBlockBytes;
        _blocks.emplace_back(new char[size]);
        _next = _blocks.back().get();
        _left = size;
    }
    char* kept = _next;
    memcpy(kept, name.data(), name.size());
    kept[name.size()] = '\0';
    _next += name.size() + 1;
    _left -= name.size() + 1;
    _slots[slot] = kept;
    _count++;
    return kept;
}

void PerfNamePool::_grow()
{
    std::vector<char*> old(_slots.empty() ? 64 : 2 * _slots.size(), nullptr);
    old.swap(_slots);
    for (char* name : old) {
        if (name == nullptr)
            continue;
        size_t slot = slotOf(name, _slots.size());
        while (_slots[slot] != nullptr)
            slot = (slot + 1) & (_slots.size() - 1);
        _slots[slot] = name;
    }
}

void PerfNamePool::release()
{
    _blocks.clear();
    _next = nullptr;
    _left = 0;
    _slots.clear();
    _count = 0;
}
