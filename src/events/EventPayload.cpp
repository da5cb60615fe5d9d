#include "EventPayload.h"

#include <cstring>

#include "PerfFactory.h"
#include "Settings.h"

size_t EventPayload::startForKernel() { return kern_ver < kVersion310 ? kStartBefore310 : kStartFrom310; }

EventPayload::EventPayload(const void* record) : EventPayload(record, startForKernel()) {}

EventPayload::EventPayload(const void* record, size_t payloadStart)
    : _record(static_cast<const char*>(record)), _available(0), _payload(kRawOffset + payloadStart)
{
    // Pointer comparison through integers: the record need not lie in the buffer.
    const uintptr_t at = reinterpret_cast<uintptr_t>(_record);
    const uintptr_t begin = reinterpret_cast<uintptr_t>(PerfFactory::_tmp);
    const uintptr_t end = begin + (PerfFactory::_tmpLen > 0 ? (uintptr_t)PerfFactory::_tmpLen : 0);
    if (PerfFactory::_tmp != nullptr && at >= begin && at < end)
        _available = end - at;
}

std::string EventPayload::_text(size_t recordOffset) const
{
    if (recordOffset >= _available)
        return std::string();
    const char* start = _record + recordOffset;
    const size_t limit = _available - recordOffset;
    const void* nul = memchr(start, '\0', limit);
    return std::string(start, nul != nullptr ? static_cast<const char*>(nul) - start : limit);
}

std::string EventPayload::locationText(size_t offset, size_t skip) const
{
    const uint32_t word = u32(offset);
    return _text(kRawOffset + (word & 0xFFFFu) + skip);
}
