#include "PerfRecordSampleEvent.h"

#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "EventPayload.h"
#include "PerfReader.h"
#include "PerfRecordHeaderS.h"
#include "Settings.h"

// Pointers, so that the tables exist whichever static constructor registers first.
std::vector<PerfNameToFunctionS>* PerfRecordSampleEvent::_nameAndFunction = nullptr;
std::vector<PerfNameToFunctionS>* PerfRecordSampleEvent::_nameAndFunction64 = nullptr;
std::vector<PerfRecordCreateFn>* PerfRecordSampleEvent::_functions = nullptr;
uint64_t PerfRecordSampleEvent::_tableSize = 0;
uint64_t PerfRecordSampleEvent::_tableCapacity = 0;

namespace {

// The address of a factory, for the verbose lines.
unsigned int addressOf(PerfRecordCreateFn function) { return (unsigned int)reinterpret_cast<uintptr_t>(function); }

}  // namespace

// No back-trace is read for an event: CPU, period and depth are all zero.
PerfRecordSampleEvent::PerfRecordSampleEvent(PerfRecordSampleEventS* record)
    : PerfRecordSample(EventPayload(record).ip(), EventPayload(record).time(), 0, EventPayload(record).pid(),
                       EventPayload(record).tid(), 0, 0, reinterpret_cast<const char*>(record))
{
    initVectors();
}

PerfRecordSampleEvent::~PerfRecordSampleEvent() = default;

int PerfRecordSampleEvent::_out(PerfJSONWriter&) { return 0; }

int PerfRecordSampleEvent::process(PerfRecordSampleEventS*) { return 1; }

void PerfRecordSampleEvent::initVectors()
{
    if (_nameAndFunction == nullptr)
        _nameAndFunction = new std::vector<PerfNameToFunctionS>();
    if (_nameAndFunction64 == nullptr)
        _nameAndFunction64 = new std::vector<PerfNameToFunctionS>();
    if (_functions == nullptr) {
        _functions = new std::vector<PerfRecordCreateFn>();
        _tableSize = 0;
        _tableCapacity = 0;
    }
}

void PerfRecordSampleEvent::registerEvent(const char* name, PerfRecordCreateFn function)
{
    initVectors();
    verbose(1, "registerEvent %s:%x\n", name, addressOf(function));
    _nameAndFunction->push_back({name, function});
}

void PerfRecordSampleEvent::registerEvent64(const char* name, PerfRecordCreateFn function)
{
    initVectors();
    verbose(1, "registerEvent64 %s:%x\n", name, addressOf(function));
    _nameAndFunction64->push_back({name, function});
}

PerfRecordCreateFn PerfRecordSampleEvent::_find(const std::vector<PerfNameToFunctionS>& table, const char* name,
                                                const char* verboseFormat)
{
    for (const PerfNameToFunctionS& entry : table) {
        verbose(1, verboseFormat, name, entry.name);
        if (strcmp(name, entry.name) == 0)
            return entry.function;
    }
    return nullptr;
}

// The 64-bit table is a preference, not a replacement: names it lacks still
// bind to the general table.
PerfRecordCreateFn PerfRecordSampleEvent::findFunction(const char* name)
{
    initVectors();
    if (is64 && !_nameAndFunction64->empty()) {
        PerfRecordCreateFn function = _find(*_nameAndFunction64, name, "findFunction64 cmp %s:%s\n");
        if (function != nullptr)
            return function;
    }
    return _find(*_nameAndFunction, name, "findFunction cmp %s:%s\n");
}

// The table grows to 4000 entries for any number up to 4000, and to the low
// 32 bits of the number plus one beyond, whenever the number is not below its
// capacity; growing past the capacity makes it the larger of twice the size
// and the new size, as a standard vector does. It is indexed with a range
// check, so a number that is still not below the size ends the run with the
// standard out-of-range error: 4000 itself, one between the size and the
// capacity after growth, or one whose low 32 bits plus one wrap to 0.
// Only the entries that a sample can name are held, so a number read from
// foreign bytes costs no memory beyond them, and the run goes on or ends
// just as with the whole table.
void PerfRecordSampleEvent::_storeFunction(uint64_t eventId, PerfRecordCreateFn function)
{
    if (eventId >= _tableCapacity) {
        const uint32_t size = eventId <= kFunctionTableSize ? kFunctionTableSize : (uint32_t)eventId + 1;
        if (size > _tableCapacity)
            _tableCapacity = size > 2 * _tableSize ? size : 2 * _tableSize;
        _tableSize = size;
        _functions->resize(size < kHeldEntries ? size : kHeldEntries, nullptr);
    }
    const uint32_t index = (uint32_t)eventId;
    if (index >= _tableSize) {
        char message[128];
        snprintf(message, sizeof message, "vector::_M_range_check: __n (which is %u) >= this->size() (which is %llu)",
                 index, (unsigned long long)_tableSize);
        throw std::out_of_range(message);
    }
    if (index < kHeldEntries)
        (*_functions)[index] = function;
}

void PerfRecordSampleEvent::readEvents(PerfReader& reader, PerfRecordHeaderS* header)
{
    initVectors();
    const uint32_t start = (uint32_t)header->attrsOffset + (uint32_t)header->attrsSize;
    // A data section ahead of the computed start wraps to a huge count.
    const uint32_t count = ((uint32_t)header->dataOffset - start) / (uint32_t)sizeof(PerfEventTypeS);

    reader.seek((int)start);
    verbose(1, "Seek to %x (%llx+%llx) c:%d\n", start, (unsigned long long)header->attrsSize,
            (unsigned long long)header->attrsOffset, (int)count);

    PerfEventTypeS entry;
    memset(&entry, 0, sizeof entry);
    bool atEnd = false;
    for (uint32_t i = 0; i < count; i++) {
        // Once a read has given nothing, every further read would too and
        // would store the same entry again: nothing more is read or stored,
        // and each remaining entry only prints its diagnostics, so that a
        // count that a damaged header made huge costs nothing at verbosity 0.
        const bool reading = !atEnd;
        if (reading) {
            // A short read leaves the rest of the entry as it was.
            atEnd = reader.read((char*)&entry, (int)sizeof entry) <= 0;
            entry.name[sizeof entry.name - 1] = '\0';
        } else if (gVerbosity == 0) {
            break;
        } else {
            reader.announceRead((int)sizeof entry);
        }
        verbose(1, "readEvent: i:%04lld n:%s\n", (long long)entry.event_id, entry.name);
        PerfRecordCreateFn function = findFunction(entry.name);
        if (reading)
            _storeFunction(entry.event_id, function);
    }
}

PerfRecord* PerfRecordSampleEvent::factoryCreate(char* record)
{
    initVectors();
    const EventPayload sample(record);
    const uint64_t time = sample.time();
    if (time < gFirstTimestampToProcess || time > gLastTimestampToProcess)
        return nullptr;
    const uint16_t type = sample.commonType();
    if (type >= _functions->size())
        return nullptr;
    PerfRecordCreateFn function = (*_functions)[type];
    verbose(1, "Found event type:%d func:%x\n", (int)type, addressOf(function));
    if (function == nullptr)
        return nullptr;
    // Only decoders are entered in the number table.
    PerfRecordSampleEvent* event = static_cast<PerfRecordSampleEvent*>(function(record));
    if (event != nullptr)
        (void)event->process(reinterpret_cast<PerfRecordSampleEventS*>(record));
    return event;
}
