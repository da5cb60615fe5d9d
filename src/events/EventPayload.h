// A view of one trace-point sample as it lies in the shared record buffer:
// the sample's own fields, and the event payload that follows the common
// header of the raw data. The payload's start depends on the kernel version
// (and is fixed for the layouts of a 64-bit kernel); decoders name only the
// offsets of their fields within the payload.
//
// Every read is bounded by the end of the shared record buffer: bytes beyond
// it, or a record that does not lie in that buffer at all, read as zero, and
// a text stops at the buffer's end when it has no NUL before it.
#ifndef ZELCONV_EVENTPAYLOAD_H
#define ZELCONV_EVENTPAYLOAD_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

class EventPayload {
public:
    // Where the raw data starts in a trace-point sample record.
    static constexpr size_t kRawOffset = 52;
    // The common header is 8 bytes from kernel 3.10 on; older kernels add a word.
    static constexpr size_t kStartFrom310 = 8;
    static constexpr size_t kStartBefore310 = 12;
    static constexpr int32_t kVersion310 = 310;
    // Layouts of a 64-bit kernel only exist from 3.10 on, so their payload starts at 8.
    static constexpr size_t kStart64 = kStartFrom310;

    // The payload's start within the raw data for the kernel version in force.
    static size_t startForKernel();

    // A view whose payload starts where the kernel version says.
    explicit EventPayload(const void* record);
    // A view whose payload starts at a fixed offset within the raw data.
    EventPayload(const void* record, size_t payloadStart);

    // Fields of the sample record itself.
    uint64_t ip() const { return _read<uint64_t>(8); }
    uint32_t pid() const { return _read<uint32_t>(16); }
    uint32_t tid() const { return _read<uint32_t>(20); }
    uint64_t time() const { return _read<uint64_t>(24); }
    uint32_t cpu() const { return _read<uint32_t>(40); }

    // Fields of the common header at the start of the raw data.
    uint16_t commonType() const { return _read<uint16_t>(kRawOffset); }
    int32_t commonPid() const { return _read<int32_t>(kRawOffset + 4); }

    // Payload fields, by their offset from the payload's start.
    uint32_t u32(size_t offset) const { return _read<uint32_t>(_payload + offset); }
    int32_t i32(size_t offset) const { return _read<int32_t>(_payload + offset); }
    // A text field read as a C string.
    std::string text(size_t offset) const { return _text(_payload + offset); }
    // The text that a location word at `offset` points to: its low 16 bits are
    // an offset from the start of the raw data (not of the payload). With
    // `skip`, the text starts that many bytes further on, which may be past
    // the NUL of a short text: the bytes behind it in the record are read.
    std::string locationText(size_t offset, size_t skip = 0) const;

private:
    template <typename T>
    T _read(size_t recordOffset) const
    {
        // Bytes past the buffer's end read as zero; a field may straddle the end.
        unsigned char bytes[sizeof(T)] = {};
        if (recordOffset < _available) {
            const size_t count = _available - recordOffset;
            memcpy(bytes, _record + recordOffset, count < sizeof(T) ? count : sizeof(T));
        }
        T value;
        memcpy(&value, bytes, sizeof value);
        return value;
    }
    std::string _text(size_t recordOffset) const;

    const char* _record;
    size_t _available;  // bytes of the shared buffer from _record on
    size_t _payload;    // the payload's start, from the start of the record
};

#endif
