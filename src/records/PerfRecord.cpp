#include "PerfRecord.h"

PerfRecord::PerfRecord() : PerfRecord(0, 0) {}

// `key` is left to the derived classes, which number themselves.
PerfRecord::PerfRecord(unsigned int pid_, unsigned int tid_)
    : _type(0), _size(0), pid(pid_), tid(tid_), key(0), _useCount(0), _symbolTable(nullptr)
{
}

PerfRecord::~PerfRecord() = default;

const char* PerfRecord::perfRecordType() { return "BASE"; }
unsigned int PerfRecord::getKey() { return key; }
unsigned int PerfRecord::getLen() { return 0; }
unsigned long long PerfRecord::getAddress() { return 0; }
const char* PerfRecord::getName() { return "noname"; }
int PerfRecord::_process() { return 0; }
int PerfRecord::_out(PerfJSONWriter&) { return 0; }
