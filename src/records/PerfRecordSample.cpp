#include "PerfRecordSample.h"

#include <cstdio>
#include <cstring>

#include "PerfJSONWriter.h"
#include "PerfRecordArena.h"
#include "PerfRecordComm.h"
#include "PerfRecordMMap.h"
#include "PerfRecordSampleEvent.h"
#include "ProfileSection.h"
#include "Settings.h"
#include "TimeBase.h"

uint64_t PerfRecordSample::_runningIndex = 0;
std::vector<PerfRecordSample*> PerfRecordSample::_allSamples;
double PerfRecordSample::_firstSampleTime = 0.0;
uint64_t PerfRecordSample::_lastSampleTime = 0;
std::vector<PerfRecordSample*> PerfRecordSample::samplesMissingMaps;
std::vector<PerfRecordSample*> PerfRecordSample::samplesMissingProcess;
PerfRecordSample* PerfRecordSample::_unkept = nullptr;
void* PerfRecordSample::_placed = nullptr;

static PerfAddFactory sampleFactory(9, "sample", PerfRecordSample::createInstance);

namespace {

const size_t kIpsOffset = offsetof(PerfRecordSampleS, ips);
// Back-trace values up to this are stray markers, not addresses.
const uint64_t kStrayMarkerLimit = 0x100;
// Interrupt entries lie above this address.
const uint64_t kInterruptFloor = 0xFEFFFFFFULL;

template <typename T>
T fieldAt(const char* record, size_t offset)
{
    T value;
    memcpy(&value, record + offset, sizeof value);
    return value;
}

}  // namespace

PerfRecordSample::PerfRecordSample() { key = (uint32_t)++_runningIndex; }

PerfRecordSample::PerfRecordSample(unsigned long long ip, unsigned long long time, unsigned int cpu, unsigned int pid_,
                                   unsigned int tid_, unsigned long long period, unsigned int nr, const char* record)
    : PerfRecord(pid_, tid_), _ip(ip), _period(period), _time(time), _cpu(cpu), _depth(nr)
{
    if (_firstSampleTime == 0.0)
        _firstSampleTime = time64ToDouble(time);
    _lastSampleTime = time;
    // A back-trace of one entry counts as none.
    if (nr == 1)
        _depth = 0;
    else if (nr > kMaxDepth)
        _depth = kMaxDepth;
    key = (uint32_t)++_runningIndex;
    processSample(record);
    if (gTimechartMode && this == _placed)
        _unkept = this;
    else
        _allSamples.push_back(this);
    if (gVerbosity != 0)
        show();
}

void* PerfRecordSample::operator new(size_t size)
{
    if (_unkept != nullptr) {
        PerfRecordSample* done = _unkept;
        _unkept = nullptr;
        delete done;
        PerfRecordArena::takeBackFrom(done);
    }
    _placed = PerfRecordArena::allocate(size);
    return _placed;
}

void PerfRecordSample::releaseAll()
{
    for (PerfRecordSample* sample : _allSamples)
        delete sample;
    _allSamples.clear();
    delete _unkept;
    _unkept = nullptr;
    _placed = nullptr;
    PerfRecordArena::release();
}

// The word at offset 32 is all that tells a plain sample (a core number)
// from a trace-point sample (the low half of its stream id).
PerfRecord* PerfRecordSample::createInstance(char* buffer)
{
    if (fieldAt<uint32_t>(buffer, kKindWordOffset) > kMaxPlainCpu)
        return PerfRecordSampleEvent::factoryCreate(buffer);
    return new PerfRecordSample(fieldAt<uint64_t>(buffer, offsetof(PerfRecordSampleS, ip)),
                                fieldAt<uint64_t>(buffer, offsetof(PerfRecordSampleS, time)),
                                fieldAt<uint32_t>(buffer, offsetof(PerfRecordSampleS, cpu)),
                                fieldAt<uint32_t>(buffer, offsetof(PerfRecordSampleS, pid)),
                                fieldAt<uint32_t>(buffer, offsetof(PerfRecordSampleS, tid)),
                                fieldAt<uint64_t>(buffer, offsetof(PerfRecordSampleS, period)),
                                (unsigned int)fieldAt<uint64_t>(buffer, offsetof(PerfRecordSampleS, nr)), buffer);
}

void PerfRecordSample::processSample(const char* record)
{
    _processRecord = PerfRecordComm::findProcessRecord(pid, tid);
    if (_processRecord == nullptr)
        verbose(1, "Missing process p:%d t:%d\n", (int)pid, (int)tid);
    processTrace(record);
}

// Reads the back-trace from the record buffer, which is the shared buffer of
// at least 1024 bytes: even the entry read one past the depth with -I lies in it.
void PerfRecordSample::processTrace(const char* record)
{
    unsigned int skip = 0;
    size_t position = kIpsOffset;
    if (gRmFirstInterrupt) {
        if (fieldAt<uint64_t>(record, position) <= kInterruptFloor)
            verbose(1, "Not an interrupt\n");
        position += 8;
        skip = 1;
    }
    if (skip >= _depth)
        return;
    // The skipped entry does not shorten the loop.
    const unsigned int count = _depth < kTraceEntries ? _depth : kTraceEntries;
    // Addresses of 32 bits, all of them on the device, take two words an entry.
    _wideTrace = false;
    for (unsigned int i = 0; i < count; i++)
        if (fieldAt<uint64_t>(record, position + 8 * i) >> 32 != 0)
            _wideTrace = true;
    const unsigned int stride = _wideTrace ? 3 : 2;
    _traceWords = static_cast<uint32_t*>(PerfRecordArena::allocate(count * stride * sizeof(uint32_t)));
    _traceEntries = (uint8_t)count;
    uint64_t address = 0;
    for (unsigned int i = 0; i < count; i++, position += 8) {
        address = fieldAt<uint64_t>(record, position);
        uint32_t* entry = _traceWords + i * stride;
        entry[0] = (uint32_t)address;
        if (_wideTrace)
            entry[1] = (uint32_t)(address >> 32);
        entry[stride - 1] = 0;
        PerfRecordMMap* map = PerfRecordMMap::findMap(address, pid, tid);
        if (map == nullptr)
            map = PerfRecordMMap::createSyntheticMap(this, pid, tid, address);
        if (map == nullptr)
            continue;
        entry[stride - 1] = map->getKey(address);
        map->_useCount++;
    }
    if (address <= kStrayMarkerLimit && _depth != 0)
        _depth--;
}

uint64_t PerfRecordSample::traceAddress(unsigned int index) const
{
    if (index >= _traceEntries)
        return 0;
    if (!_wideTrace)
        return _traceWords[2 * index];
    return _traceWords[3 * index] | (uint64_t)_traceWords[3 * index + 1] << 32;
}

uint32_t PerfRecordSample::traceKey(unsigned int index) const
{
    if (index >= _traceEntries)
        return 0;
    return _wideTrace ? _traceWords[3 * index + 2] : _traceWords[2 * index + 1];
}

void PerfRecordSample::verifyKey()
{
    // A COMM record may come after the samples of its process.
    if (_processRecord == nullptr) {
        _processRecord = PerfRecordComm::findProcessRecord(pid, tid);
        if (_processRecord == nullptr)
            _processRecord = PerfRecordComm::findProcessRecord(pid, 0);
        if (_processRecord == nullptr)
            _processRecord = &PerfRecordComm::_lostAndFound;
    }
    _pidKey = _processRecord->key;

    PerfRecordMMap* map = PerfRecordMMap::findMap(this);
    if (map != nullptr) {
        _mapKey = map->getKey(_ip);
        map->_useCount++;
        if (_mapKey != 0)
            return;
    }
    verbose(1, "SAMP: no map key\n");
    if (map == nullptr)
        map = PerfRecordMMap::findMap(_ip, pid, 0);
    if (map == nullptr)
        map = PerfRecordMMap::createSyntheticMap(this, pid, tid, _ip);
    if (map == nullptr)
        map = PerfRecordMMap::_lostAndFound;
    // Without any map record in the file there is no lost-and-found map, and the key stays 0.
    if (map == nullptr)
        return;
    _mapKey = map->getKey(_ip);
    map->_useCount++;
}

void PerfRecordSample::verifyKeys()
{
    for (PerfRecordSample* sample : _allSamples)
        if (sample != nullptr)
            sample->verifyKey();
}

void PerfRecordSample::show()
{
    PerfRecordMMap* map = PerfRecordMMap::findMap(this);
    printf("%s k:%d p:%d t:%d a:%llx\n", map != nullptr ? "SAMP" : "sxxx", (int)key, (int)pid, (int)tid,
           (unsigned long long)_ip);
}

int PerfRecordSample::_out(PerfJSONWriter& writer)
{
    writer.writeArrayStart(nullptr);
    writer.writeNamed("key", getKey());
    writer.writeNamed("ip", (unsigned long long)_ip);
    writer.writeNamed("mapkey", _mapKey);
    writer.writeNamed("time", doTimeConversion(_time) - gtodAtStart);
    writer.writeNamed("cpu", _cpu);
    writer.writeNamed("pidkey", _pidKey);
    writer.writeNamed("tid", tid);
    writer.writeArrayStart("bt");
    for (unsigned int i = 0; i < _depth && i < kTraceEntries; i++) {
        writer.writeArrayStart(nullptr);
        writer.writeNamed("ip", (unsigned long long)traceAddress(i));
        writer.writeNamed("mapkey", traceKey(i));
        writer.writeArrayEnd();
    }
    writer.writeArrayEnd();
    writer.writeArrayEnd();
    return 0;
}

void PerfRecordSample::outAll(PerfJSONWriter& writer)
{
    ProfileSection::begin(writer, "samples",
                          {{"key", "key or reference for this sample"},
                           {"ip", "Location of sample, program counter"},
                           {"mapkey", "reference to map entry"},
                           {"time", "time stamp of the sample"},
                           {"cpu", "which core the sample was taken on"},
                           {"pidkey", "reference to the process element"},
                           {"tid", "tid for this sample"},
                           {"bt.ip", "backtrace program counter"},
                           {"bt.mapkey", "backtrace map key"}});
    // This section is the samples' last use: each is destroyed once written,
    // and the arena chunks of those written go back while the document grows.
    for (PerfRecordSample*& sample : _allSamples) {
        if (sample == nullptr)
            continue;
        PerfRecordArena::releaseBefore(sample);
        sample->out(writer);
        delete sample;
        sample = nullptr;
    }
    ProfileSection::end(writer);
}
