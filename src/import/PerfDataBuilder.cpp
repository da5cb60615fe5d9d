#include "PerfDataBuilder.h"

#include <fstream>
#include <stdexcept>

std::string PerfDataBuilder::u16(uint16_t v) { return std::string{(char)(v & 0xff), (char)(v >> 8)}; }

std::string PerfDataBuilder::u32(uint32_t v) { return u16((uint16_t)v) + u16((uint16_t)(v >> 16)); }

std::string PerfDataBuilder::u64(uint64_t v) { return u32((uint32_t)v) + u32((uint32_t)(v >> 32)); }

std::string PerfDataBuilder::text8(const std::string& s)
{
    std::string out = s;
    out.push_back('\0');
    while (out.size() % 8 != 0)
        out.push_back('\0');
    return out;
}

std::string PerfDataBuilder::fixed(const std::string& s, size_t width)
{
    std::string out = s.substr(0, width);
    out.resize(width, '\0');
    return out;
}

PerfDataBuilder& PerfDataBuilder::attributes(size_t bytes)
{
    _attributeBytes = bytes;
    return *this;
}

PerfDataBuilder& PerfDataBuilder::eventType(uint64_t id, const std::string& name)
{
    _eventTypes += u64(id) + fixed(name, 64);
    return *this;
}

PerfDataBuilder& PerfDataBuilder::record(uint32_t type, const std::string& body, uint16_t misc)
{
    if (body.size() + 8 > 0xffff)
        throw std::length_error("record body too long");
    _data += u32(type) + u16(misc) + u16((uint16_t)(body.size() + 8)) + body;
    return *this;
}

PerfDataBuilder& PerfDataBuilder::header(uint32_t type, uint16_t size, const std::string& body)
{
    _data += u32(type) + u16(0) + u16(size) + body;
    return *this;
}

PerfDataBuilder& PerfDataBuilder::junk(const std::string& bytes)
{
    _data += bytes;
    return *this;
}

PerfDataBuilder& PerfDataBuilder::comm(uint32_t pid, uint32_t tid, const std::string& name)
{
    return record(3, u32(pid) + u32(tid) + text8(name));
}

PerfDataBuilder& PerfDataBuilder::mmap(uint32_t pid, uint32_t tid, uint64_t start, uint64_t length, uint64_t pgoff,
                                       const std::string& fileName)
{
    return record(1, u32(pid) + u32(tid) + u64(start) + u64(length) + u64(pgoff) + text8(fileName));
}

PerfDataBuilder& PerfDataBuilder::sample(uint64_t ip, uint32_t pid, uint32_t tid, uint64_t time, uint32_t cpu,
                                         uint64_t period, const std::vector<uint64_t>& callchain)
{
    std::string body =
        u64(ip) + u32(pid) + u32(tid) + u64(time) + u32(cpu) + u32(0) + u64(period) + u64(callchain.size());
    for (uint64_t address : callchain)
        body += u64(address);
    return record(9, body);
}

PerfDataBuilder& PerfDataBuilder::tracepoint(uint64_t ip, uint32_t pid, uint32_t tid, uint64_t time, uint32_t cpu,
                                             const std::string& raw, uint64_t id)
{
    std::string body =
        u64(ip) + u32(pid) + u32(tid) + u64(time) + u64(id) + u32(cpu) + u32(0) + u32((uint32_t)raw.size()) + raw;
    while (body.size() % 8 != 0)
        body.push_back('\0');
    return record(9, body);
}

std::string PerfDataBuilder::rawArea(uint16_t commonType, const std::string& payload, bool kernel310)
{
    std::string raw = u16(commonType) + std::string(1, '\0') + std::string(1, '\0') + u32(0);
    if (!kernel310)
        raw += u32(0);
    return raw + payload;
}

PerfDataBuilder& PerfDataBuilder::dataOffset(uint64_t offset)
{
    _dataOffsetSet = true;
    _dataOffset = offset;
    return *this;
}

// Layout: 104-byte header as perf writes it (the converter reads the first 56),
// then the attributes, the event-type table and the data section.
std::string PerfDataBuilder::bytes() const
{
    const uint64_t headerSize = 104;
    const uint64_t attrsOffset = headerSize;
    const uint64_t eventsOffset = attrsOffset + _attributeBytes;
    const uint64_t dataOffset = _dataOffsetSet ? _dataOffset : eventsOffset + _eventTypes.size();

    std::string out = "PERFILE2";
    out += u64(headerSize);
    out += u64(_attributeBytes != 0 ? _attributeBytes : 112);
    out += u64(attrsOffset) + u64(_attributeBytes);
    out += u64(dataOffset) + u64(_data.size());
    out += u64(eventsOffset) + u64(_eventTypes.size());
    out.resize(headerSize, '\0');
    out += std::string(_attributeBytes, '\0');
    out += _eventTypes;
    out += _data;
    return out;
}

void PerfDataBuilder::writeTo(const std::string& path) const
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    std::string image = bytes();
    file.write(image.data(), (std::streamsize)image.size());
    if (!file)
        throw std::runtime_error("cannot write " + path);
}
