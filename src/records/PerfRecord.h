// Base of every decoded record of the data section.
#ifndef ZELCONV_PERFRECORD_H
#define ZELCONV_PERFRECORD_H

#include <cstdint>

#include "PerfFoundation.h"

class PerfJSONWriter;
class SymbolTable;

class PerfRecord : public PerfFoundation {
public:
    PerfRecord();
    PerfRecord(unsigned int pid, unsigned int tid);
    virtual ~PerfRecord();

    virtual const char* perfRecordType();
    virtual unsigned int getKey();
    virtual unsigned int getLen();
    virtual unsigned long long getAddress();
    virtual const char* getName();
    virtual int _process();
    virtual int _out(PerfJSONWriter& writer);

    int out(PerfJSONWriter& writer) { return _out(writer); }

    uint32_t _type;
    uint16_t _size;
    uint32_t pid;
    uint32_t tid;
    uint32_t key;
    uint32_t _useCount;
    SymbolTable* _symbolTable;
};

#endif
