// Payloads of the scheduler and task trace-points, in the layouts the kernel
// writes them, for building trace-point samples with PerfDataBuilder.
#ifndef ZELCONV_TOOLS_TRACEPAYLOADS_H
#define ZELCONV_TOOLS_TRACEPAYLOADS_H

#include <cstdint>
#include <string>

#include "PerfDataBuilder.h"

namespace payload {

using B = PerfDataBuilder;

inline std::string schedSwitch(int32_t prevPid, uint32_t prevState, int32_t nextPid,
                               const std::string& prevComm = "prev", const std::string& nextComm = "next")
{
    return B::fixed(prevComm, 16) + B::u32((uint32_t)prevPid) + B::u32(120) + B::u32(prevState) +
           B::fixed(nextComm, 16) + B::u32((uint32_t)nextPid) + B::u32(120);
}

// A 64-bit kernel's layout: the previous state is 8 bytes wide.
inline std::string schedSwitch64(int32_t prevPid, uint64_t prevState, int32_t nextPid,
                                 const std::string& prevComm = "prev", const std::string& nextComm = "next")
{
    return B::fixed(prevComm, 16) + B::u32((uint32_t)prevPid) + B::u32(120) + B::u64(prevState) +
           B::fixed(nextComm, 16) + B::u32((uint32_t)nextPid) + B::u32(120);
}

inline std::string schedWakeup(int32_t pid, const std::string& comm = "woken")
{
    return B::fixed(comm, 16) + B::u32((uint32_t)pid) + B::u32(120) + B::u32(1) + B::u32(0);
}

inline std::string taskNewtask(int32_t pid, const std::string& comm, uint32_t cloneFlags)
{
    return B::u32((uint32_t)pid) + B::fixed(comm, 16) + B::u32(cloneFlags) + B::u32(0);
}

// A 64-bit kernel's layout: the clone flags are 8 bytes wide and aligned.
inline std::string taskNewtask64(int32_t pid, const std::string& comm, uint64_t cloneFlags)
{
    return B::u32((uint32_t)pid) + B::fixed(comm, 16) + B::u32(0) + B::u64(cloneFlags) + B::u64(0);
}

inline std::string taskRename(int32_t pid, const std::string& oldComm, const std::string& newComm)
{
    return B::u32((uint32_t)pid) + B::fixed(oldComm, 16) + B::fixed(newComm, 16) + B::u32(0);
}

inline std::string switchWithCounters(int32_t prevPid, int32_t nextPid, uint32_t cycles, const uint32_t (&l1)[4],
                                      const uint32_t (&l2)[2])
{
    std::string out = B::u32((uint32_t)prevPid) + B::u32((uint32_t)nextPid) + B::u32(cycles);
    for (uint32_t v : l1)
        out += B::u32(v);
    for (uint32_t v : l2)
        out += B::u32(v);
    return out;
}

// A raw area with the common header's pid set, which the GPU wait and issue events read.
inline std::string raw(uint16_t commonType, int32_t commonPid, const std::string& payload, bool kernel310)
{
    std::string area = B::rawArea(commonType, payload, kernel310);
    return area.replace(4, 4, B::u32((uint32_t)commonPid));
}

// A payload whose field at `at` is a location word for `text`, which follows
// the payload's `fields`; the word counts from the raw area's start.
inline std::string withText(const std::string& fields, size_t at, const std::string& text, bool kernel310)
{
    const uint32_t where = (uint32_t)((kernel310 ? 8 : 12) + fields.size());
    std::string out = fields;
    out.replace(at, 4, B::u32(where | (uint32_t)(text.size() + 1) << 16));
    return out + text + std::string(1, '\0');
}

inline std::string irqEntry(int32_t irq, const std::string& name, bool kernel310)
{
    return withText(B::u32((uint32_t)irq) + B::u32(0), 4, name, kernel310);
}

// A kgsl event: the device name's location word, then the fields from payload offset 4 on.
inline std::string kgsl(const std::string& device, const std::string& fields, bool kernel310)
{
    return withText(B::u32(0) + fields, 0, device, kernel310);
}

inline std::string issue(uint32_t flags, uint32_t result, uint32_t contextType, bool kernel310)
{
    return kgsl("kgsl-3d0", std::string(16, '\0') + B::u32(flags) + B::u32(result) + B::u32(contextType), kernel310);
}

// Thread flag of the clone flags.
const uint32_t kCloneThread = 0x10000;

}  // namespace payload

#endif
