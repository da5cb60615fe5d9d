#include "PerfFactory.h"

#include <cstdio>
#include <cstring>

#include "PerfReader.h"
#include "PerfRecord.h"
#include "Settings.h"

PerfRecordFunction PerfFactory::perfRecordFunctions[PerfFactory::kTypes];
int32_t PerfFactory::_lostBytes = 0;
char* PerfFactory::_tmp = nullptr;
int32_t PerfFactory::_tmpLen = 0;

int PerfFactory::addFunction(int type, const char* name, PerfRecordCreateFn fn)
{
    if (type < 0 || type >= kTypes || perfRecordFunctions[type].fn != nullptr)
        return -1;
    PerfRecordFunction& slot = perfRecordFunctions[type];
    slot.type = type;
    slot.fn = fn;
    slot.name = strdup(name != nullptr ? name : "notgiven");
    return 0;
}

PerfAddFactory::PerfAddFactory(int type, const char* name, PerfRecordCreateFn fn)
{
    (void)PerfFactory::addFunction(type, name, fn);
}

// The buffer only grows; its contents do not survive growing.
void PerfFactory::allocTmpBuffer(int size)
{
    if (_tmp != nullptr) {
        if (size <= _tmpLen)
            return;
        delete[] _tmp;
    }
    _tmpLen = size > 1024 ? size : 1024;
    _tmp = new char[_tmpLen]();  // zeroed, so a short body reads as zeros the first time
}

// The header read, or else the first two neighbouring words that look like a
// type and, in the upper half of the second, a size, scanned in steps of 4
// bytes from the end of the rejected header. False at the end of the file.
bool PerfFactory::findHeader(PerfReader& reader, uint32_t& type, uint32_t& size)
{
    // A short read at the end of the file leaves the rest of the header zero.
    struct {
        uint32_t type;
        uint16_t misc;
        uint16_t size;
    } header = {0, 0, 0};
    if (reader.read((char*)&header, sizeof header) <= 0)
        return false;
    type = header.type;
    size = header.size;
    allocTmpBuffer((int)size + 8);  // sized by the header read, even a rejected one
    uint32_t scanWord = 0;
    bool scanned = false;
    while (!(size <= kMaxRecordSize && type - 1 <= 15u && size >= kMinRecordSize)) {
        type = scanWord;
        if (reader.read((char*)&scanWord, sizeof scanWord) <= 0)
            return false;
        size = scanWord >> 16;
        _lostBytes += 4;
        scanned = true;
    }
    if (scanned)
        verbose(1, "FIXED\n");
    return true;
}

PerfRecord* PerfFactory::dispatch(uint32_t type, uint32_t size)
{
    if (type == (uint32_t)kTypes) {
        verbose(1, "Overflow Type:%x len:%d(%x)\n", type, (int)size, size);
        return nullptr;
    }
    PerfRecordCreateFn fn = perfRecordFunctions[type].fn;
    if (fn == nullptr) {
        verbose(1, "Unknown Type:%x len:%d(%x)\n", type, (int)size, size);
        return nullptr;
    }
    PerfRecord* record = fn(_tmp);
    if (record != nullptr) {
        record->_type = type;
        record->_size = (uint16_t)size;
    }
    return record;
}

PerfRecord* PerfFactory::readNext(PerfReader& reader)
{
    uint32_t type;
    uint32_t size;
    if (!findHeader(reader, type, size))
        return nullptr;
    // A body cut short by the end of the file is dispatched all the same.
    (void)reader.read(_tmp + 8, (int)size - 8);
    return dispatch(type, size);
}

void PerfFactory::showStats() { printf("Lost Bytes: %d\n", _lostBytes); }
