// One process or thread named by the file, and the tables in which every
// other part finds a process by its ids.
#ifndef ZELCONV_PERFRECORDCOMM_H
#define ZELCONV_PERFRECORDCOMM_H

#include <cstdint>
#include <map>
#include <vector>

#include "PerfRecord.h"

class PerfRecordMMap;
class PerfRecordSample;

class PerfRecordComm : public PerfRecord {
public:
    PerfRecordComm();
    PerfRecordComm(unsigned int pid, unsigned int tid, const char* name);
    ~PerfRecordComm() override;

    static PerfRecord* createInstance(char* buffer);
    // Exact pair first; a zero tid or pid asks for any entry of the other id.
    static PerfRecordComm* findProcessRecord(unsigned int pid, unsigned int tid);

    const char* perfRecordType() override { return "comm"; }
    const char* getName() override { return _name; }
    int _out(PerfJSONWriter& writer) override;
    virtual void setName(const char* name);
    virtual void show();

    void addMMap(PerfRecordMMap*) {}
    void addSample(PerfRecordSample*) {}
    SymbolTable* findSymbolTable(unsigned long long address);

    static void outAll(PerfJSONWriter& writer);

    char* _name;
    std::vector<PerfRecordMMap*> _maps;
    std::vector<PerfRecordSample*> _samples;

    static std::vector<PerfRecordComm*> _elements;
    static uint32_t _runningPidKey;
    static std::map<uint64_t, PerfRecordComm*> _mapOfPidTids;
    static std::map<uint32_t, PerfRecordComm*> _mapOfPid;
    static std::map<uint32_t, PerfRecordComm*> _mapOfTid;
    static PerfRecordComm _kernelArea;
    static PerfRecordComm _lostAndFound;
    // Whether the "*init*" entry of pid 1 was made, which the first COMM record does.
    static bool _initDone;

private:
    static char* _copyName(const char* name);
};

#endif
