// Shared by the symbol tests: a fixture that resets the converter around each
// test, and the document that a section writer makes through a real writer.
#ifndef ZELCONV_TESTS_SYMBOLTESTSUPPORT_H
#define ZELCONV_TESTS_SYMBOLTESTSUPPORT_H

#include <gtest/gtest.h>

#include <functional>
#include <tuple>

#include "ConverterReset.h"
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
        resetConverter();
        FileNames::createEmptyRef();
    }

    void TearDown() override { resetConverter(); }

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
};

#endif
