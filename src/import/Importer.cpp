#include "Importer.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <vector>

#include "LittleEndian.h"
#include "PerfDataBuilder.h"
#include "TracingData.h"

namespace {

// The trace-points that zelconv decodes; samples of others it passes over.
const char* const kDecodedEvents[] = {
    "sched:sched_switch",
    "perf_trace_counters:sched_switch_with_ctrs",
    "sched:sched_wakeup",
    "sched:sched_wakeup_new",
    "task:task_newtask",
    "task:task_rename",
    "power:cpu_idle",
    "power:cpu_frequency",
    "irq:irq_handler_entry",
    "irq:irq_handler_exit",
    "irq:softirq_entry",
    "irq:softirq_exit",
    "kgsl:kgsl_a2xx_irq_status",
    "kgsl:kgsl_a3xx_irq_status",
    "kgsl:kgsl_z180_irq_status",
    "kgsl:kgsl_irq",
    "kgsl:kgsl_bus",
    "kgsl:kgsl_rail",
    "kgsl:kgsl_clk",
    "kgsl:kgsl_pwrlevel",
    "kgsl:kgsl_issueibcmds",
    "kgsl:kgsl_waittimestamp_entry",
    "kgsl:kgsl_waittimestamp_exit",
};

// zelconv's event table holds numbers below this; a larger one can end its run.
const uint64_t kEventTableSize = 4000;
// The stream id written in trace-point samples: zelconv tells them from plain
// samples by its low word being above 16.
const uint64_t kTraceStreamId = 0x100;
// Longest names that keep a MMAP (40 bytes of fields) or COMM (8) record
// within 256 bytes with the name's NUL and padding.
const size_t kMmapNameFits = 256 - 48 - 1, kCommNameFits = 256 - 16 - 1;

std::string textAt(std::string_view body, size_t offset)
{
    if (offset >= body.size())
        return "";
    const std::string_view rest = body.substr(offset);
    return std::string(rest.substr(0, rest.find('\0')));
}

std::string recordName(uint32_t type)
{
    static const std::map<uint32_t, const char*> names = {
        {PERF_RECORD_MMAP, "MMAP"},
        {PERF_RECORD_LOST, "LOST"},
        {PERF_RECORD_COMM, "COMM"},
        {PERF_RECORD_EXIT, "EXIT"},
        {PERF_RECORD_THROTTLE, "THROTTLE"},
        {PERF_RECORD_UNTHROTTLE, "UNTHROTTLE"},
        {PERF_RECORD_FORK, "FORK"},
        {PERF_RECORD_READ, "READ"},
        {PERF_RECORD_SAMPLE, "SAMPLE"},
        {PERF_RECORD_MMAP2, "MMAP2"},
        {PERF_RECORD_AUX, "AUX"},
        {PERF_RECORD_ITRACE_START, "ITRACE_START"},
        {PERF_RECORD_LOST_SAMPLES, "LOST_SAMPLES"},
        {PERF_RECORD_SWITCH, "SWITCH"},
        {PERF_RECORD_SWITCH_CPU_WIDE, "SWITCH_CPU_WIDE"},
        {PERF_RECORD_NAMESPACES, "NAMESPACES"},
        {PERF_RECORD_KSYMBOL, "KSYMBOL"},
        {PERF_RECORD_BPF_EVENT, "BPF_EVENT"},
        {PERF_RECORD_CGROUP, "CGROUP"},
        {PERF_RECORD_TEXT_POKE, "TEXT_POKE"},
        {kHeaderAttr, "ATTR"},
        {kHeaderEventType, "EVENT_TYPE"},
        {kHeaderTracingData, "TRACING_DATA"},
        {kHeaderBuildId, "BUILD_ID"},
        {kFinishedRound, "FINISHED_ROUND"},
        {69, "ID_INDEX"},
        {70, "AUXTRACE_INFO"},
        {kAuxtrace, "AUXTRACE"},
        {72, "AUXTRACE_ERROR"},
        {73, "THREAD_MAP"},
        {74, "CPU_MAP"},
        {75, "STAT_CONFIG"},
        {76, "STAT"},
        {77, "STAT_ROUND"},
        {78, "EVENT_UPDATE"},
        {79, "TIME_CONV"},
        {kHeaderFeature, "FEATURE"},
        {kCompressed, "COMPRESSED"},
        {82, "FINISHED_INIT"},
    };
    auto found = names.find(type);
    return found != names.end() ? found->second : "type " + std::to_string(type);
}

// Why a record of a kind that is never written is dropped.
std::string unusedReason(uint32_t type)
{
    switch (type) {
    case kHeaderAttr:
    case kHeaderEventType:
    case kHeaderTracingData:
    case kHeaderBuildId:
    case kHeaderFeature:
    case 69:
    case 73:
    case 74:
    case 78:
    case 79:
    case 82:
        return recordName(type) + ": describes the recording, read for its layout";
    case PERF_RECORD_LOST:
    case PERF_RECORD_LOST_SAMPLES:
        return recordName(type) + ": perf lost events while recording";
    case kCompressed:
        return "COMPRESSED: compressed records (perf record -z), not read; record without -z";
    default:
        return recordName(type) + ": not used by zelconv";
    }
}

std::string seconds(uint64_t ns)
{
    char text[64];
    snprintf(text, sizeof text, "%llu.%09llu", (unsigned long long)(ns / 1000000000u),
             (unsigned long long)(ns % 1000000000u));
    return text;
}

// "6.1" of "6.1.0-13-amd64", or empty.
std::string kernelVersion(const std::string& release)
{
    unsigned major = 0, minor = 0;
    char tail = 0;
    if (sscanf(release.c_str(), "%u.%u%c", &major, &minor, &tail) < 2)
        return "";
    return std::to_string(major) + "." + std::to_string(minor);
}

bool userMode(uint16_t misc) { return (misc & PERF_RECORD_MISC_CPUMODE_MASK) == PERF_RECORD_MISC_USER; }

}  // namespace

Importer::Importer(const PerfFile& file) : _file(file) {}

// Names each trace-point event from the tracing data (or, failing that, the
// event descriptions or the old event-type table), and gives it a number that
// zelconv's table holds.
void Importer::describeEvents(PerfDataBuilder& out)
{
    std::unordered_map<uint64_t, const TraceFormat*> formats;
    TracingData tracing(_file.tracingData());
    if (!_file.tracingData().empty()) {
        _tracingProblem = tracing.error();
        _longSize = tracing.kernelLongSize() != 0 ? tracing.kernelLongSize() : tracing.longSize();
        _kernelWidthKnown = tracing.kernelLongSize() != 0;
        for (const TraceFormat& format : tracing.formats())
            formats.emplace(format.id, &format);
    }
    std::unordered_map<uint64_t, const std::string*> typeNames;
    for (const auto& [typeId, typeName] : _file.eventTypes())
        typeNames.emplace(typeId, &typeName);
    std::set<uint64_t> used;
    for (const PerfAttr& attr : _file.attrs())
        if (attr.attr.type == PERF_TYPE_TRACEPOINT && attr.attr.config < kEventTableSize)
            used.insert(attr.attr.config);
    uint64_t spare = 17;
    for (const PerfAttr& attr : _file.attrs()) {
        const uint64_t id = attr.attr.config;
        if (attr.attr.type != PERF_TYPE_TRACEPOINT || _events.count(id) != 0)
            continue;
        TraceEvent event;
        auto format = formats.find(id);
        if (format != formats.end())
            event.name = format->second->name;
        if (event.name.empty())
            event.name = attr.name;
        auto typeName = typeNames.find(id);
        if (event.name.empty() && typeName != typeNames.end())
            event.name = *typeName->second;
        if (event.name.empty())
            event.name = "trace-point " + std::to_string(id);
        event.decoded = std::find_if(std::begin(kDecodedEvents), std::end(kDecodedEvents),
                                     [&](const char* name) { return event.name == name; }) != std::end(kDecodedEvents);
        if (id >= kEventTableSize) {
            while (used.count(spare) != 0)
                spare++;
            used.insert(spare);
        }
        const uint64_t written = id < kEventTableSize ? id : spare;
        if (written < kEventTableSize) {
            event.writtenId = (uint16_t)written;
            out.eventType(written, event.name);
        } else {
            event.decoded = false;  // no number left that zelconv's table holds
        }
        if (event.decoded && format != formats.end())
            keepFormat(event.name, *format->second);
        _events.emplace(id, event);
    }
}

void Importer::run(PerfDataBuilder& out)
{
    describeEvents(out);

    // perf writes records in batches per CPU: put them in time order, stably.
    // A record without a time keeps the place of the one before it.
    struct Item {
        uint64_t time;
        size_t index;
    };
    const std::vector<PerfFileRecord>& records = _file.records();
    std::vector<Item> order;
    order.reserve(records.size());
    uint64_t last = 0;
    for (size_t i = 0; i < records.size(); i++) {
        const PerfFileRecord& record = records[i];
        _read[record.type]++;
        uint64_t time = last;
        if (record.type == PERF_RECORD_SAMPLE) {
            PerfSample sample;
            if (_file.sample(record, sample) == PerfFile::kSampleRead && sample.hasTime)
                time = sample.time;
        } else if (!_file.trailerTime(record, time) &&
                   (record.type == PERF_RECORD_FORK || record.type == PERF_RECORD_EXIT)) {
            time = fieldAt<uint64_t>(_file.body(record), 16);
        }
        last = time;
        order.push_back({time, i});
    }
    std::stable_sort(order.begin(), order.end(), [](const Item& a, const Item& b) { return a.time < b.time; });

    for (const Item& item : order) {
        const PerfFileRecord& record = records[item.index];
        switch (record.type) {
        case PERF_RECORD_SAMPLE:
            writeSample(record, out);
            break;
        case PERF_RECORD_COMM:
            writeComm(_file.bodyBeforeTrailer(record), out);
            break;
        case PERF_RECORD_FORK:
            writeFork(_file.bodyBeforeTrailer(record), out);
            break;
        case PERF_RECORD_MMAP:
        case PERF_RECORD_MMAP2:
            writeMmap(record, _file.bodyBeforeTrailer(record), out);
            break;
        default:
            drop(unusedReason(record.type));
            break;
        }
    }
}

void Importer::writeComm(std::string_view body, PerfDataBuilder& out)
{
    const uint32_t pid = fieldAt<uint32_t>(body, 0), tid = fieldAt<uint32_t>(body, 4);
    std::string name = textAt(body, 8);
    if (name.size() > kCommNameFits) {
        name.resize(kCommNameFits);
        _namesShortened++;
    }
    out.comm(pid, tid, name);
    _written["COMM"]++;
    _threadNames[tid] = name;
    _givenNames[(uint64_t)pid << 32 | tid] = name;
}

// A new thread or process is named after its parent until it names itself,
// as perf shows it.
void Importer::writeFork(std::string_view body, PerfDataBuilder& out)
{
    const uint32_t pid = fieldAt<uint32_t>(body, 0), tid = fieldAt<uint32_t>(body, 8),
                   parentTid = fieldAt<uint32_t>(body, 12);
    auto parent = _threadNames.find(parentTid);
    if (parent == _threadNames.end() || parentTid == tid) {
        drop("FORK: parent has no name");
        return;
    }
    const std::string name = parent->second;
    _threadNames[tid] = name;
    std::string& given = _givenNames[(uint64_t)pid << 32 | tid];
    if (given == name) {
        drop("FORK: thread already has its parent's name");
        return;
    }
    given = name;
    out.comm(pid, tid, name);
    _written["COMM named after the parent, from FORK"]++;
}

// MMAP: pid, tid, start, length, page offset, file name. MMAP2 has device,
// inode (or build id), protection and flags before the name.
void Importer::writeMmap(const PerfFileRecord& record, std::string_view body, PerfDataBuilder& out)
{
    const uint32_t pid = fieldAt<uint32_t>(body, 0), tid = fieldAt<uint32_t>(body, 4);
    const uint64_t start = fieldAt<uint64_t>(body, 8), length = fieldAt<uint64_t>(body, 16),
                   pgoff = fieldAt<uint64_t>(body, 24);
    std::string name = textAt(body, record.type == PERF_RECORD_MMAP ? 32 : 64);
    if (name.size() > kMmapNameFits) {
        name.resize(kMmapNameFits);
        _namesShortened++;
    }
    if (userMode(record.misc) && (start > UINT32_MAX || length > UINT32_MAX - start))
        _highMaps++;
    out.mmap(pid, tid, start, length, pgoff, name);
    _written["MMAP"]++;
}

void Importer::writeSample(const PerfFileRecord& record, PerfDataBuilder& out)
{
    PerfSample sample;
    switch (_file.sample(record, sample)) {
    case PerfFile::kSampleRead:
        break;
    case PerfFile::kSampleNoAttr:
        return drop("SAMPLE: of no event the recording describes");
    case PerfFile::kSampleUnknownLayout:
        return drop("SAMPLE: its event's layout has fields unknown to this program");
    case PerfFile::kSampleShort:
        return drop("SAMPLE: shorter than its event's layout");
    }
    if (sample.cpu >= kCpus)
        return drop("SAMPLE: on CPU 16 or above, beyond zelconv's tables");

    if (sample.attr->attr.type == PERF_TYPE_TRACEPOINT) {
        const TraceEvent& event = _events.at(sample.attr->attr.config);
        if (!event.decoded)
            return drop("SAMPLE: trace-point without a decoder in zelconv: " + event.name);
        if (sample.raw.size() < 2)
            return drop("SAMPLE: trace-point without its raw data");
        if (sample.raw.size() > kRawFits)
            return drop("SAMPLE: trace-point data too long for zelconv's 256-byte records");
        std::string raw(sample.raw);
        memcpy(&raw[0], &event.writtenId, 2);  // the number zelconv's table knows the event by
        out.tracepoint(sample.ip, sample.pid, sample.tid, sample.time, sample.cpu, raw, kTraceStreamId);
        _written["SAMPLE of a trace-point"]++;
    } else {
        std::vector<uint64_t> chain(std::min(sample.chainLength(), kChainFits));
        for (size_t i = 0; i < chain.size(); i++)
            chain[i] = sample.chainEntry(i);
        if (sample.chainLength() > kChainFits)
            _chainsTrimmed++;
        // User-space addresses above 4 GiB: the sample's own, or a chain
        // entry after perf's user-context marker.
        bool high = userMode(record.misc) && sample.ip > UINT32_MAX;
        bool user = false;
        for (uint64_t address : chain) {
            if (address >= (uint64_t)PERF_CONTEXT_MAX)
                user = address == (uint64_t)PERF_CONTEXT_USER;
            else if (user && address > UINT32_MAX)
                high = true;
        }
        _highSamples += high ? 1 : 0;
        out.sample(sample.ip, sample.pid, sample.tid, sample.time, sample.cpu, sample.period, chain);
        _written["SAMPLE"]++;
    }
    _firstTime = std::min(_firstTime, sample.time);
    _lastTime = std::max(_lastTime, sample.time);
}

// The fields that zelconv's decoders read, by their offset from the payload's
// start: byte 12 of the raw data for kernels before 3.10, byte 8 from 3.10 on
// and always in the 64-bit kernel's layouts (the second offset, where the
// decoder has one).
namespace {

struct FieldUse {
    const char* event;
    const char* field;
    uint32_t offset;
    uint32_t offset64;  // 0: the event has no layout of its own for a 64-bit kernel
};

const FieldUse kFieldUses[] = {
    {"sched:sched_switch", "prev_pid", 16, 16}, {"sched:sched_switch", "prev_state", 24, 24},
    {"sched:sched_switch", "next_pid", 44, 48}, {"sched:sched_wakeup", "pid", 16, 0},
    {"sched:sched_wakeup_new", "pid", 16, 0},   {"task:task_newtask", "pid", 0, 0},
    {"task:task_newtask", "comm", 4, 4},        {"task:task_newtask", "clone_flags", 20, 24},
    {"task:task_rename", "pid", 0, 0},          {"task:task_rename", "newcomm", 20, 0},
    {"power:cpu_idle", "state", 0, 0},          {"power:cpu_idle", "cpu_id", 4, 0},
    {"power:cpu_frequency", "state", 0, 0},     {"power:cpu_frequency", "cpu_id", 4, 0},
    {"irq:irq_handler_entry", "irq", 0, 0},     {"irq:irq_handler_entry", "name", 4, 0},
    {"irq:irq_handler_exit", "irq", 0, 0},      {"irq:softirq_entry", "vec", 0, 0},
    {"irq:softirq_exit", "vec", 0, 0},
};

}  // namespace

std::vector<std::string> Importer::payloadProblems(const std::string& env) const
{
    unsigned major = 0, minor = 0;
    const bool before310 = sscanf(env.c_str(), "kern_ver=%u.%u", &major, &minor) == 2 && major * 100 + minor < 310;
    const bool is64 = env.find("ARM64=y") != std::string::npos;
    std::vector<std::string> problems;
    for (const FieldUse& use : kFieldUses) {
        auto format = _formats.find(use.event);
        if (format == _formats.end())
            continue;
        const bool own64 =
            is64 && (std::string(use.event) == "sched:sched_switch" || std::string(use.event) == "task:task_newtask");
        const uint32_t expected =
            own64 ? 8 + (use.offset64 != 0 ? use.offset64 : use.offset) : (before310 ? 12 : 8) + use.offset;
        const TraceField* field = format->second.field(use.field);
        if (field == nullptr)
            problems.push_back(std::string(use.event) + " has no field " + use.field + ", which zelconv reads");
        else if (field->offset != expected)
            problems.push_back(std::string(use.event) + " has its field " + use.field + " at byte " +
                               std::to_string(field->offset) + " of its raw data; zelconv reads it at byte " +
                               std::to_string(expected));
    }
    return problems;
}

std::string Importer::environment() const
{
    std::string out;
    const std::string version = kernelVersion(_file.osRelease());
    if (!version.empty())
        out += "kern_ver=" + version + " ";
    static const std::set<std::string> arch64 = {"aarch64", "arm64",   "x86_64", "ppc64",   "ppc64le",
                                                 "mips64",  "riscv64", "s390x",  "sparc64", "loongarch64"};
    // The kernel's own word width where the tracing data shows it: a 32-bit
    // perf on a 64-bit kernel reports a 32-bit machine ("armv8l").
    bool is64 = _longSize == 8;
    if (!_kernelWidthKnown && !_file.arch().empty())
        is64 = arch64.count(_file.arch()) != 0;
    out += is64 ? "ARM64=y" : "ARM64=n";
    return out;
}

std::string Importer::summary() const
{
    std::string out;
    auto line = [&](const std::string& text) { out += text + "\n"; };
    auto counts = [](const auto& map, auto name) {
        std::string text;
        uint64_t total = 0;
        for (const auto& [key, count] : map) {
            text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + name(key);
            total += count;
        }
        return std::to_string(total) + (text.empty() ? "" : " (" + text + ")");
    };
    std::string recorded = _file.pipeMode() ? "piped recording" : "recording";
    if (!_file.osRelease().empty())
        recorded += " of kernel " + _file.osRelease();
    if (!_file.arch().empty())
        recorded += " on " + _file.arch();
    if (_file.cpusOnline() != 0)
        recorded += " with " + std::to_string(_file.cpusOnline()) + " CPUs online";
    line("read: " + recorded + ", " + std::to_string(_file.attrs().size()) + " events");
    line("records read: " + counts(_read, recordName));
    line("records written: " + counts(_written, [](const std::string& s) { return s; }));
    for (const auto& [reason, count] : _dropped)
        line("dropped " + std::to_string(count) + " " + reason);
    if (!_file.damage().empty())
        line("damaged: " + _file.damage());
    if (!_tracingProblem.empty())
        line("tracing data: " + _tracingProblem);
    if (_chainsTrimmed != 0)
        line("call chains trimmed to their first " + std::to_string(kChainFits) +
             " entries: " + std::to_string(_chainsTrimmed));
    if (_namesShortened != 0)
        line("names shortened to fit zelconv's 256-byte records: " + std::to_string(_namesShortened));
    if (_firstTime <= _lastTime)
        line("time span: " + seconds(_firstTime) + " to " + seconds(_lastTime) + " s (" +
             seconds(_lastTime - _firstTime) + " s)");
    if (_highMaps != 0 || _highSamples != 0)
        line("64-bit processes: " + std::to_string(_highMaps) + " maps and " + std::to_string(_highSamples) +
             " samples lie above 4 GiB in user space. zelconv keys maps by 32-bit addresses, so in a profile "
             "document such samples can be charged to the wrong library or to none; timechart documents are "
             "not affected");
    // The environment decides where zelconv looks for a trace-point's fields.
    const std::string env = environment();
    for (const std::string& problem : payloadProblems(env))
        line("payload layout: " + problem + " under " + env);
    return out;
}
