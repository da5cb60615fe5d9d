#include "TracingData.h"

#include <cstdlib>
#include <cstring>

namespace {

// A cursor over the tracing data; every read fails once past the end.
class Cursor {
public:
    explicit Cursor(std::string_view bytes) : _bytes(bytes) {}
    bool ok() const { return _ok; }
    size_t left() const { return _bytes.size() - _at; }

    template <typename T>
    T number()
    {
        T value{};
        if (_ok && sizeof value <= left()) {
            memcpy(&value, _bytes.data() + _at, sizeof value);
            _at += sizeof value;
        } else {
            _ok = false;
        }
        return value;
    }
    std::string_view bytes(uint64_t size)
    {
        if (!_ok || size > left()) {
            _ok = false;
            return {};
        }
        std::string_view out = _bytes.substr(_at, size);
        _at += size;
        return out;
    }
    std::string_view text()
    {
        const size_t end = _ok ? _bytes.find('\0', _at) : std::string_view::npos;
        if (end == std::string_view::npos) {
            _ok = false;
            return {};
        }
        std::string_view out = _bytes.substr(_at, end - _at);
        _at = end + 1;
        return out;
    }

private:
    std::string_view _bytes;
    size_t _at = 0;
    bool _ok = true;
};

std::string_view trimmed(std::string_view s)
{
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == ';' || s.back() == '\r'))
        s.remove_suffix(1);
    return s;
}

// The number after "key:" in a field line ("offset:8;"), or false.
bool fieldNumber(std::string_view line, std::string_view key, uint32_t& out)
{
    const size_t at = line.find(key);
    if (at == std::string_view::npos)
        return false;
    const std::string digits(trimmed(line.substr(at + key.size(), line.find(';', at) - at - key.size())));
    char* end = nullptr;
    const unsigned long value = strtoul(digits.c_str(), &end, 10);
    if (digits.empty() || *end != '\0' || value > UINT32_MAX)
        return false;
    out = (uint32_t)value;
    return true;
}

}  // namespace

const TraceField* TraceFormat::field(std::string_view fieldName) const
{
    for (const TraceField& f : fields)
        if (f.name == fieldName)
            return &f;
    return nullptr;
}

bool TracingData::parseFormat(std::string_view text, const std::string& group, TraceFormat& out)
{
    out = TraceFormat();
    bool haveName = false, haveId = false;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.compare(0, 5, "name:") == 0) {
            out.name = group + ":" + std::string(trimmed(line.substr(5)));
            haveName = true;
        } else if (line.compare(0, 3, "ID:") == 0) {
            const std::string digits(trimmed(line.substr(3)));
            char* endp = nullptr;
            out.id = strtoull(digits.c_str(), &endp, 10);
            haveId = !digits.empty() && *endp == '\0';
        } else {
            // "\tfield:unsigned short common_type;\toffset:0;\tsize:2;\tsigned:0;"
            const size_t field = line.find("field:");
            if (field == std::string_view::npos)
                continue;
            std::string_view declaration = trimmed(line.substr(field + 6, line.find(';', field) - field - 6));
            // "char prev_comm[16]" and "__data_loc char[] name" both name their last word.
            if (!declaration.empty() && declaration.back() == ']')
                declaration = trimmed(declaration.substr(0, declaration.rfind('[')));
            const size_t space = declaration.find_last_of(" *");
            TraceField f;
            f.name = std::string(space == std::string_view::npos ? declaration : declaration.substr(space + 1));
            if (fieldNumber(line, "offset:", f.offset) && fieldNumber(line, "size:", f.size))
                out.fields.push_back(f);
        }
    }
    return haveName && haveId;
}

// Magic, version text, endianness and long width, page size; the two header
// files; the ftrace formats; then per group the formats of its events. What
// follows (kernel symbols, printk formats, command lines) is not needed.
TracingData::TracingData(std::string_view bytes)
{
    static const char kMagic[] = "\027\010\104tracing";
    Cursor in(bytes);
    if (in.bytes(sizeof kMagic - 1) != std::string_view(kMagic, sizeof kMagic - 1)) {
        _error = "the tracing data does not start with its magic";
        return;
    }
    in.text();
    const uint8_t bigEndian = in.number<uint8_t>();
    const uint8_t longSize = in.number<uint8_t>();
    in.number<uint32_t>();
    if (!in.ok() || bigEndian != 0) {
        _error = in.ok() ? "the tracing data is big-endian" : "the tracing data ends in its header";
        return;
    }
    _longSize = longSize == 4 || longSize == 8 ? longSize : 0;
    for (const char* name : {"header_page", "header_event"}) {
        if (in.text() != name) {
            _error = std::string("the tracing data lacks its ") + name;
            return;
        }
        const std::string_view text = in.bytes(in.number<uint64_t>());
        // The page header's commit counter is the kernel's own long.
        TraceFormat page;
        parseFormat(text, "", page);
        const TraceField* commit = page.field("commit");
        if (commit != nullptr && (commit->size == 4 || commit->size == 8))
            _kernelLongSize = commit->size;
    }
    const uint32_t ftraceCount = in.number<uint32_t>();
    for (uint32_t i = 0; i < ftraceCount && in.ok(); i++)
        in.bytes(in.number<uint64_t>());
    const uint32_t groups = in.number<uint32_t>();
    for (uint32_t g = 0; g < groups && in.ok(); g++) {
        const std::string group(in.text());
        const uint32_t events = in.number<uint32_t>();
        for (uint32_t e = 0; e < events && in.ok(); e++) {
            const std::string_view text = in.bytes(in.number<uint64_t>());
            TraceFormat format;
            if (in.ok() && parseFormat(text, group, format))
                _formats.push_back(std::move(format));
        }
    }
    if (!in.ok())
        _error = "the tracing data ends inside its event formats";
}
