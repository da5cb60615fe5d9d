#include "PerfFile.h"

#include <algorithm>
#include <cstring>

template <typename T>
T PerfFile::field(const std::string& bytes, size_t offset)
{
    T value{};
    if (offset <= bytes.size() && sizeof value <= bytes.size() - offset)
        memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

template uint16_t PerfFile::field<uint16_t>(const std::string&, size_t);
template uint32_t PerfFile::field<uint32_t>(const std::string&, size_t);
template uint64_t PerfFile::field<uint64_t>(const std::string&, size_t);

std::string PerfFile::text(const std::string& body, size_t offset)
{
    if (offset >= body.size())
        return "";
    const size_t end = body.find('\0', offset);
    return body.substr(offset, end == std::string::npos ? std::string::npos : end - offset);
}

// The header: magic, its own size, the size of one attribute entry, then the
// attribute and data sections as offset and size. Each attribute entry is the
// event attribute followed by the section of its stream ids.
PerfFile::PerfFile(const std::string& bytes)
{
    if (bytes.compare(0, 8, "PERFILE2") != 0) {
        _error = "not a perf.data file of perf's own layout";
        return;
    }
    const uint64_t attrSize = field<uint64_t>(bytes, 16), attrsOffset = field<uint64_t>(bytes, 24);
    const uint64_t attrsEnd = attrsOffset + field<uint64_t>(bytes, 32);
    const uint64_t dataOffset = field<uint64_t>(bytes, 40), dataEnd = dataOffset + field<uint64_t>(bytes, 48);
    if (attrSize < 16 + 32 || attrsEnd > bytes.size() || dataEnd > bytes.size()) {
        _error = "the header's sections do not fit the file";
        return;
    }
    for (uint64_t at = attrsOffset; at + attrSize <= attrsEnd; at += attrSize) {
        PerfAttr attr;
        attr.type = field<uint32_t>(bytes, at);
        attr.config = field<uint64_t>(bytes, at + 8);
        attr.sampleType = field<uint64_t>(bytes, at + 24);
        const uint64_t idsOffset = field<uint64_t>(bytes, at + attrSize - 16);
        const uint64_t idsSize = field<uint64_t>(bytes, at + attrSize - 8);
        for (uint64_t id = idsOffset; id + 8 <= idsOffset + idsSize && id + 8 <= bytes.size(); id += 8)
            attr.ids.push_back(field<uint64_t>(bytes, id));
        _attrs.push_back(attr);
    }
    for (uint64_t at = dataOffset; at + 8 <= dataEnd;) {
        const uint16_t size = field<uint16_t>(bytes, at + 6);
        if (size < 8 || at + size > dataEnd) {
            _error = "a record at " + std::to_string(at) + " does not fit the data section";
            return;
        }
        _records.push_back({field<uint32_t>(bytes, at), field<uint16_t>(bytes, at + 4), bytes.substr(at + 8, size - 8)});
        at += size;
    }
}

bool PerfFile::sample(const PerfFileRecord& record, PerfFileSample& out) const
{
    if (record.type != kSample || _attrs.empty())
        return false;
    const std::string& body = record.body;
    out = PerfFileSample();
    out.attr = &_attrs.front();
    size_t p = 0;
    if (_attrs.size() > 1) {
        if ((_attrs.front().sampleType & kIdentifier) == 0)
            return false;
        const uint64_t id = field<uint64_t>(body, 0);
        out.attr = nullptr;
        for (const PerfAttr& attr : _attrs)
            for (uint64_t known : attr.ids)
                if (known == id)
                    out.attr = &attr;
        if (out.attr == nullptr)
            return false;
    }
    const uint64_t type = out.attr->sampleType;
    const uint64_t known = kIdentifier | kIp | kTid | kTime | kAddr | kId | kStreamId | kCpu | kPeriod | kCallchain | kRaw;
    // Fields after the raw data are never read, so any layout bit past it is fine.
    if ((type & ~known & ((kRaw << 1) - 1)) != 0)
        return false;
    auto next = [&]() {
        const uint64_t value = field<uint64_t>(body, p);
        p += 8;
        return value;
    };
    if (type & kIdentifier)
        next();
    if (type & kIp)
        out.ip = next();
    if (type & kTid) {
        out.pid = field<uint32_t>(body, p);
        out.tid = field<uint32_t>(body, p + 4);
        p += 8;
    }
    if (type & kTime)
        out.time = next();
    if (type & kAddr)
        next();
    if (type & kId)
        next();
    if (type & kStreamId)
        next();
    if (type & kCpu)
        out.cpu = (uint32_t)next();
    if (type & kPeriod)
        out.period = next();
    if (type & kCallchain) {
        const uint64_t count = next();
        if (count > (body.size() - std::min(p, body.size())) / 8)
            return false;
        for (uint64_t i = 0; i < count; i++)
            out.callchain.push_back(next());
    }
    if (type & kRaw) {
        const uint32_t size = field<uint32_t>(body, p);
        if (p + 4 + (uint64_t)size > body.size())
            return false;
        out.raw = body.substr(p + 4, size);
        p += 4 + size;
    }
    return p <= body.size();
}
