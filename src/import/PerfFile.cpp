#include "PerfFile.h"

#include <algorithm>
#include <cstring>

#include "LittleEndian.h"

namespace {

// Header features that this reader uses; a set bit in the header's feature
// map means that a section of that feature follows the data.
enum Feature : uint64_t {
    kFeatureTracingData = 1,
    kFeatureBuildId = 2,
    kFeatureOsRelease = 4,
    kFeatureArch = 6,
    kFeatureCpus = 7,
    kFeatureEventDesc = 12,
    kFeatureBits = 256,
};

const size_t kFileHeaderSize = 104, kPipeHeaderSize = 16;
// perf's flag on a build-id record whose id has its length beside it.
const uint16_t kBuildIdHasSize = 1 << 15;

// Whether [offset, offset + size) lies inside a buffer of `total` bytes.
bool inside(uint64_t offset, uint64_t size, size_t total) { return offset <= total && size <= total - offset; }

// A text that perf writes as a 32-bit length and the padded, NUL-terminated
// characters; advances `at`. Empty and `ok` false when it does not fit.
std::string perfString(std::string_view data, size_t& at, bool& ok)
{
    const uint32_t length = fieldAt<uint32_t>(data, at);
    if (at > data.size() || data.size() - at < 4 || !inside(at + 4, length, data.size())) {
        ok = false;
        return "";
    }
    std::string_view text = data.substr(at + 4, length);
    at += 4 + (size_t)length;
    return std::string(text.substr(0, text.find('\0')));
}

// Reads a sample's fields in order; every read fails once past the end.
class SampleCursor {
public:
    explicit SampleCursor(std::string_view body) : _body(body) {}
    bool ok() const { return _ok; }
    uint64_t u64()
    {
        const uint64_t value = fieldAt<uint64_t>(_body, _at);
        skip(8);
        return value;
    }
    uint32_t u32()
    {
        const uint32_t value = fieldAt<uint32_t>(_body, _at);
        skip(4);
        return value;
    }
    // `count` items of `each` bytes, without overflow for any count.
    std::string_view take(uint64_t count, uint64_t each)
    {
        const size_t left = _ok ? _body.size() - _at : 0;
        if (!_ok || (each != 0 && count > left / each)) {
            _ok = false;
            return {};
        }
        std::string_view out = _body.substr(_at, count * each);
        _at += count * each;
        return out;
    }
    void skip(uint64_t bytes) { take(bytes, 1); }

private:
    std::string_view _body;
    size_t _at = 0;
    bool _ok = true;
};

int bits(uint64_t mask) { return __builtin_popcountll(mask); }

const uint64_t kTrailerFields = PERF_SAMPLE_TID | PERF_SAMPLE_TIME | PERF_SAMPLE_ID | PERF_SAMPLE_STREAM_ID |
                                PERF_SAMPLE_CPU | PERF_SAMPLE_IDENTIFIER;

}  // namespace

uint64_t PerfSample::chainEntry(size_t i) const { return fieldAt<uint64_t>(callchain, i * 8); }

PerfFile::PerfFile(std::string bytes) : _bytes(std::move(bytes))
{
    if (_bytes.size() < 16) {
        _error = _bytes.empty() ? "the input is empty" : "the input is too short for a perf.data header";
        return;
    }
    const std::string_view magic(_bytes.data(), 8);
    if (magic == "2ELIFREP") {
        _error = "the recording was made on a big-endian machine, which this program does not read";
        return;
    }
    if (magic == "PERFFILE") {
        _error = "the recording has perf's first file layout (before 2.6.35), which this program does not read";
        return;
    }
    if (magic != "PERFILE2") {
        _error = "not a perf.data recording";
        return;
    }
    const uint64_t headerSize = fieldAt<uint64_t>(_bytes, 8);
    if (headerSize == kPipeHeaderSize) {
        _pipe = true;
        readPipe();
    } else if (headerSize >= kFileHeaderSize && headerSize <= _bytes.size()) {
        readFile();
    } else {
        _error = "the perf.data header has an unknown size (" + std::to_string(headerSize) + ")";
    }
}

// The header: its size, the size of one attribute entry, the attribute, data
// and event-type sections as offset and size, then the map of features whose
// sections follow the data section, described by one offset and size each.
void PerfFile::readFile()
{
    const std::string_view all(_bytes);
    const uint64_t attrSize = fieldAt<uint64_t>(all, 16), attrsOffset = fieldAt<uint64_t>(all, 24),
                   attrsSize = fieldAt<uint64_t>(all, 32), dataOffset = fieldAt<uint64_t>(all, 40),
                   dataSize = fieldAt<uint64_t>(all, 48), typesOffset = fieldAt<uint64_t>(all, 56),
                   typesSize = fieldAt<uint64_t>(all, 64);
    if (!inside(attrsOffset, attrsSize, all.size()) || !inside(dataOffset, dataSize, all.size()) ||
        !inside(typesOffset, typesSize, all.size())) {
        _error = "the perf.data header names sections that lie outside the file";
        return;
    }
    if (attrSize < 16 + PERF_ATTR_SIZE_VER0) {
        _error = "the perf.data header gives an attribute size of " + std::to_string(attrSize);
        return;
    }
    for (uint64_t at = attrsOffset; attrsOffset + attrsSize - at >= attrSize; at += attrSize) {
        const uint64_t idsOffset = fieldAt<uint64_t>(all, at + attrSize - 16),
                       idsSize = fieldAt<uint64_t>(all, at + attrSize - 8);
        if (!inside(idsOffset, idsSize, all.size())) {
            _error = "an attribute's ids lie outside the file";
            return;
        }
        addAttr(all.substr(at, attrSize - 16), attrSize - 16, all.substr(idsOffset, idsSize));
    }
    for (uint64_t at = typesOffset; at + 72 <= typesOffset + typesSize; at += 72) {
        const std::string_view name = all.substr(at + 8, 64);
        _eventTypes.emplace_back(fieldAt<uint64_t>(all, at), std::string(name.substr(0, name.find('\0'))));
    }

    const uint64_t tableOffset = dataOffset + dataSize;
    size_t index = 0;
    for (uint64_t feature = 0; feature < kFeatureBits; feature++) {
        if ((fieldAt<uint64_t>(all, 72 + feature / 64 * 8) >> (feature % 64) & 1) == 0)
            continue;
        const uint64_t entry = tableOffset + 16 * index++;
        const uint64_t offset = fieldAt<uint64_t>(all, entry), size = fieldAt<uint64_t>(all, entry + 8);
        if (!inside(entry, 16, all.size()) || !inside(offset, size, all.size())) {
            _error = "the perf.data header names feature sections that lie outside the file";
            return;
        }
        readFeature(feature, all.substr(offset, size));
    }
    readRecords(dataOffset, dataOffset + dataSize);
}

void PerfFile::readPipe()
{
    readRecords(kPipeHeaderSize, _bytes.size());
    if (_error.empty() && _attrs.empty() && !_records.empty())
        _error = "the piped recording describes no events";
}

void PerfFile::readRecords(size_t begin, size_t end)
{
    const std::string_view all(_bytes);
    _records.reserve((end - begin) / 64);
    for (size_t at = begin; at < end;) {
        PerfFileRecord record;
        record.type = fieldAt<uint32_t>(all, at);
        record.misc = fieldAt<uint16_t>(all, at + 4);
        record.size = fieldAt<uint16_t>(all, at + 6);
        record.offset = at;
        if (end - at < 8 || record.size < 8 || record.size > end - at) {
            _damage = "the data is cut or damaged at byte " + std::to_string(at) + ": " + std::to_string(end - at) +
                      " bytes not read";
            return;
        }
        const std::string_view body = all.substr(at + 8, record.size - 8);
        size_t next = at + record.size;
        // Auxiliary trace data and, in a pipe, the tracing data follow their
        // record outside its size.
        uint64_t trailing = 0;
        if (record.type == kAuxtrace)
            trailing = fieldAt<uint64_t>(body, 0);
        else if (_pipe && record.type == kHeaderTracingData)
            trailing = fieldAt<uint32_t>(body, 0);
        if (trailing > end - next) {
            _damage = "the data is cut at byte " + std::to_string(next) + ", inside the " + std::to_string(trailing) +
                      " bytes that follow a record of type " + std::to_string(record.type);
            return;
        }
        if (_pipe) {
            if (record.type == kHeaderAttr) {
                const uint32_t attrBytes = fieldAt<uint32_t>(body, 4);
                if (attrBytes < PERF_ATTR_SIZE_VER0 || attrBytes > body.size()) {
                    _error = "an attribute record at byte " + std::to_string(at) + " is malformed";
                    return;
                }
                addAttr(body, attrBytes, body.substr(attrBytes));
            } else if (record.type == kHeaderTracingData) {
                _tracingData = all.substr(next, trailing);
            } else if (record.type == kHeaderEventType && body.size() >= 8) {
                const std::string_view name = body.substr(8, 64);
                _eventTypes.emplace_back(fieldAt<uint64_t>(body, 0), std::string(name.substr(0, name.find('\0'))));
            } else if (record.type == kHeaderBuildId) {
                addBuildId(record.misc, body);
            } else if (record.type == kHeaderFeature && body.size() >= 8) {
                readFeature(fieldAt<uint64_t>(body, 0), body.substr(8));
            }
        }
        _records.push_back(record);
        at = next + trailing;
    }
}

void PerfFile::readFeature(uint64_t feature, std::string_view data)
{
    size_t at = 0;
    bool ok = true;
    switch (feature) {
    case kFeatureTracingData:
        _tracingData = data;
        break;
    case kFeatureBuildId:
        // Records of their own: header, pid, build id, file name.
        while (data.size() - at >= 8) {
            const uint16_t size = fieldAt<uint16_t>(data, at + 6);
            if (size < 8 || size > data.size() - at)
                break;
            addBuildId(fieldAt<uint16_t>(data, at + 4), data.substr(at + 8, size - 8));
            at += size;
        }
        break;
    case kFeatureOsRelease:
        _osRelease = perfString(data, at, ok);
        break;
    case kFeatureArch:
        _arch = perfString(data, at, ok);
        break;
    case kFeatureCpus:
        _cpusOnline = fieldAt<uint32_t>(data, 4);
        break;
    case kFeatureEventDesc: {
        // Per event: the attribute, its id count, its name, its ids.
        const uint32_t events = fieldAt<uint32_t>(data, 0), attrBytes = fieldAt<uint32_t>(data, 4);
        at = 8;
        for (uint32_t i = 0; i < events && ok && attrBytes >= 8 && inside(at, attrBytes + 4ull, data.size()); i++) {
            const uint32_t ids = fieldAt<uint32_t>(data, at + attrBytes);
            at += attrBytes + 4;
            std::string name = perfString(data, at, ok);
            if (!ok || !inside(at, ids * 8ull, data.size()))
                break;
            auto byId = ids != 0 ? _attrOfId.find(fieldAt<uint64_t>(data, at)) : _attrOfId.end();
            const size_t index = byId != _attrOfId.end() ? byId->second : i;
            if (index < _attrs.size())
                _attrs[index].name = std::move(name);
            at += ids * 8ull;
        }
        break;
    }
    default:
        break;
    }
}

void PerfFile::addAttr(std::string_view attr, size_t attrBytes, std::string_view ids)
{
    PerfAttr out;
    memcpy(&out.attr, attr.data(), std::min(attrBytes, sizeof out.attr));
    for (size_t at = 0; at + 8 <= ids.size(); at += 8) {
        out.ids.push_back(fieldAt<uint64_t>(ids, at));
        _attrOfId.emplace(out.ids.back(), _attrs.size());
    }
    _attrs.push_back(std::move(out));
}

// The pid, 24 bytes of build id (20 used, or as many as the byte behind them
// says when the record's misc flags so), then the file name.
void PerfFile::addBuildId(uint16_t misc, std::string_view body)
{
    if (body.size() < 4 + 24)
        return;
    size_t length = 20;
    if (misc & kBuildIdHasSize)
        length = std::min<size_t>(20, (uint8_t)body[4 + 20]);
    static const char digits[] = "0123456789abcdef";
    PerfBuildId out;
    for (size_t i = 0; i < length; i++) {
        out.id += digits[(uint8_t)body[4 + i] >> 4];
        out.id += digits[(uint8_t)body[4 + i] & 15];
    }
    const std::string_view name = body.substr(28);
    out.fileName = std::string(name.substr(0, name.find('\0')));
    if (length != 0 && !out.fileName.empty())
        _buildIds.push_back(std::move(out));
}

const PerfAttr* PerfFile::attrById(uint64_t id) const
{
    auto found = _attrOfId.find(id);
    return found == _attrOfId.end() ? nullptr : &_attrs[found->second];
}

std::string_view PerfFile::body(const PerfFileRecord& record) const
{
    return std::string_view(_bytes).substr(record.offset + 8, record.size - 8);
}

// With one event every record is its; with several, a sample carries its
// event's id first (IDENTIFIER) or where the first event's layout puts ID.
PerfFile::SampleResult PerfFile::sample(const PerfFileRecord& record, PerfSample& out) const
{
    out = PerfSample();
    if (_attrs.empty())
        return kSampleNoAttr;
    const std::string_view body = this->body(record);
    out.attr = &_attrs.front();
    const uint64_t first = _attrs.front().attr.sample_type;
    if (_attrs.size() > 1 && (first & (PERF_SAMPLE_IDENTIFIER | PERF_SAMPLE_ID)) != 0) {
        const size_t at =
            (first & PERF_SAMPLE_IDENTIFIER) != 0
                ? 0
                : 8 * bits(first & (PERF_SAMPLE_IP | PERF_SAMPLE_TID | PERF_SAMPLE_TIME | PERF_SAMPLE_ADDR));
        if (at + 8 > body.size())
            return kSampleShort;
        out.attr = attrById(fieldAt<uint64_t>(body, at));
        if (out.attr == nullptr)
            return kSampleNoAttr;
    }
    const perf_event_attr& attr = out.attr->attr;
    const uint64_t type = attr.sample_type;
    if ((type & ~(uint64_t)(PERF_SAMPLE_MAX - 1)) != 0)
        return kSampleUnknownLayout;

    SampleCursor in(body);
    if (type & PERF_SAMPLE_IDENTIFIER)
        in.u64();
    if (type & PERF_SAMPLE_IP)
        out.ip = in.u64();
    if (type & PERF_SAMPLE_TID) {
        out.pid = in.u32();
        out.tid = in.u32();
    }
    if (type & PERF_SAMPLE_TIME) {
        out.time = in.u64();
        out.hasTime = true;
    }
    if (type & PERF_SAMPLE_ADDR)
        in.u64();
    if (type & PERF_SAMPLE_ID)
        in.u64();
    if (type & PERF_SAMPLE_STREAM_ID)
        in.u64();
    if (type & PERF_SAMPLE_CPU) {
        out.cpu = in.u32();
        in.u32();
    }
    if (type & PERF_SAMPLE_PERIOD)
        out.period = in.u64();
    if (type & PERF_SAMPLE_READ) {
        const uint64_t format = attr.read_format;
        const int times = bits(format & (PERF_FORMAT_TOTAL_TIME_ENABLED | PERF_FORMAT_TOTAL_TIME_RUNNING));
        const int perValue = 1 + bits(format & (PERF_FORMAT_ID | PERF_FORMAT_LOST));
        if (format & PERF_FORMAT_GROUP) {
            const uint64_t values = in.u64();
            in.take(times, 8);
            in.take(values, 8ull * perValue);
        } else {
            in.take(times + perValue, 8);
        }
    }
    if (type & PERF_SAMPLE_CALLCHAIN)
        out.callchain = in.take(in.u64(), 8);
    if (type & PERF_SAMPLE_RAW)
        out.raw = in.take(in.u32(), 1);
    if (type & PERF_SAMPLE_BRANCH_STACK) {
        const uint64_t branches = in.u64();
        if (attr.branch_sample_type & PERF_SAMPLE_BRANCH_HW_INDEX)
            in.u64();
        in.take(branches, 24);
    }
    if ((type & PERF_SAMPLE_REGS_USER) && in.u64() != PERF_SAMPLE_REGS_ABI_NONE)
        in.take(bits(attr.sample_regs_user), 8);
    if (type & PERF_SAMPLE_STACK_USER) {
        const uint64_t size = in.u64();
        in.skip(size);
        if (size != 0)
            in.u64();
    }
    // Weight, data source and transaction, one word each.
    in.take(bits(type & (PERF_SAMPLE_WEIGHT_TYPE | PERF_SAMPLE_DATA_SRC | PERF_SAMPLE_TRANSACTION)) -
                ((type & PERF_SAMPLE_WEIGHT_TYPE) == PERF_SAMPLE_WEIGHT_TYPE ? 1 : 0),
            8);
    if ((type & PERF_SAMPLE_REGS_INTR) && in.u64() != PERF_SAMPLE_REGS_ABI_NONE)
        in.take(bits(attr.sample_regs_intr), 8);
    in.take(bits(type & (PERF_SAMPLE_PHYS_ADDR | PERF_SAMPLE_CGROUP | PERF_SAMPLE_DATA_PAGE_SIZE |
                         PERF_SAMPLE_CODE_PAGE_SIZE)),
            8);
    if (type & PERF_SAMPLE_AUX)
        in.skip(in.u64());
    return in.ok() ? kSampleRead : kSampleShort;
}

// Records other than samples end in the fields of the trailer that the
// event's layout selects, when the event asked for them (sample_id_all).
const PerfAttr* PerfFile::trailerAttr(std::string_view body, size_t& trailerSize) const
{
    if (_attrs.empty() || !_attrs.front().attr.sample_id_all)
        return nullptr;
    const PerfAttr* attr = &_attrs.front();
    const uint64_t first = attr->attr.sample_type;
    if (_attrs.size() > 1 && (first & (PERF_SAMPLE_IDENTIFIER | PERF_SAMPLE_ID)) != 0) {
        const size_t fromEnd =
            (first & PERF_SAMPLE_IDENTIFIER) != 0 ? 1 : 1 + bits(first & (PERF_SAMPLE_CPU | PERF_SAMPLE_STREAM_ID));
        if (8 * fromEnd > body.size())
            return nullptr;
        attr = attrById(fieldAt<uint64_t>(body, body.size() - 8 * fromEnd));
        if (attr == nullptr || !attr->attr.sample_id_all)
            return nullptr;
    }
    trailerSize = 8 * (size_t)bits(attr->attr.sample_type & kTrailerFields);
    return trailerSize <= body.size() ? attr : nullptr;
}

bool PerfFile::trailerTime(const PerfFileRecord& record, uint64_t& time) const
{
    if (record.type == PERF_RECORD_SAMPLE || record.type >= kHeaderAttr)
        return false;
    const std::string_view body = this->body(record);
    size_t size = 0;
    const PerfAttr* attr = trailerAttr(body, size);
    if (attr == nullptr || (attr->attr.sample_type & PERF_SAMPLE_TIME) == 0)
        return false;
    time = fieldAt<uint64_t>(body, body.size() - size + ((attr->attr.sample_type & PERF_SAMPLE_TID) ? 8 : 0));
    return true;
}

std::string_view PerfFile::bodyBeforeTrailer(const PerfFileRecord& record) const
{
    std::string_view body = this->body(record);
    size_t size = 0;
    if (record.type != PERF_RECORD_SAMPLE && record.type < kHeaderAttr && trailerAttr(body, size) != nullptr)
        body.remove_suffix(size);
    return body;
}
