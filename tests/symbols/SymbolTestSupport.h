// Shared by the symbol tests: a fixture that gives each test empty symbol and
// file tables and puts the program's state back afterwards, and the document
// that a section writer makes through a real writer.
#ifndef ZELCONV_TESTS_SYMBOLTESTSUPPORT_H
#define ZELCONV_TESTS_SYMBOLTESTSUPPORT_H

#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <tuple>

#include "ConverterRun.h"
#include "FileNames.h"
#include "PerfJSONWriter.h"
#include "Settings.h"
#include "SymbolTable.h"

using Sym = std::tuple<unsigned long long, unsigned long long, std::string>;  // address, size, name

inline std::vector<Sym> symbolsOf(const SymbolTable& table)
{
    std::vector<Sym> result;
    for (SymbolTableElement* e : table._elements)
        result.emplace_back(e->_address, e->_size, e->_name);
    return result;
}

class SymbolFixture : public testing::Test {
protected:
    void SetUp() override
    {
        FileNames::createEmptyRef();
        std::swap(_tables, SymbolTable::_allSymbolTables);
        std::swap(_files, FileNames::_fileTable);
        std::swap(_fileKey, FileNames::_runningKey);
        gVerbosity = 0;
    }

    void TearDown() override
    {
        std::swap(_tables, SymbolTable::_allSymbolTables);
        std::swap(_files, FileNames::_fileTable);
        FileNames::_runningKey = _fileKey;
        // What the test made stays reachable, as in a run, where nothing is freed.
        static auto& kept = *new std::list<std::pair<std::vector<SymbolTable*>, std::map<std::string, FileNames*>>>();
        kept.emplace_back(_tables, _files);
        std::tie(SymbolTable::_paths, SymbolTable::_kernelSymTable, SymbolTable::_syntheticSymTable) = _symbols;
        std::tie(gVerbosity, gKernelStart, gKernelEnd, symPath) = _settings;
    }

    // The document holding only what `write` writes, as the output file receives it.
    std::string render(const std::function<void(PerfJSONWriter&)>& write)
    {
        std::string path = _scratch.path("out.json");
        PerfJSONWriter writer(true, false);
        writer.open(path.c_str());
        writer.newElementStart(nullptr);
        write(writer);
        writer.newElementEnd();
        writer.close();
        return readFile(path);
    }

    ConverterRun _scratch;  // a private temporary directory

private:
    std::vector<SymbolTable*> _tables;
    std::map<std::string, FileNames*> _files;
    uint32_t _fileKey = 0;
    std::tuple<std::vector<std::string>, SymbolTable*, SymbolTable*> _symbols{
        SymbolTable::_paths, SymbolTable::_kernelSymTable, SymbolTable::_syntheticSymTable};
    std::tuple<uint32_t, uint64_t, uint64_t, std::string> _settings{gVerbosity, gKernelStart, gKernelEnd, symPath};
};

#endif
