// Shared by the symbol tests: a fixture that resets the converter around each
// test and gives it a private temporary directory.
#ifndef ZELCONV_TESTS_SYMBOLTESTSUPPORT_H
#define ZELCONV_TESTS_SYMBOLTESTSUPPORT_H

#include <gtest/gtest.h>

#include <tuple>

#include "ConverterReset.h"
#include "ConverterRun.h"
#include "FileNames.h"
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

    ConverterRun _scratch;  // a private temporary directory
};

#endif
