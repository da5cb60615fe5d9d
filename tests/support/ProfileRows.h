// Reads the rows of one section of a profile document (the arrays under
// "data") with the JSON library. Whole numbers keep all 64 bits.
#ifndef ZELCONV_TESTS_PROFILEROWS_H
#define ZELCONV_TESTS_PROFILEROWS_H

#include <cstdint>
#include <string>
#include <vector>

struct RowValue {
    bool isArray = false;
    std::string text;  // a number's digits, or a string's contents
    std::vector<RowValue> items;

    uint64_t number() const { return std::stoull(text); }
    double real() const { return std::stod(text); }
};

// The rows of `section` ("processes", "libraries", "files", "functions", "samples");
// throws std::runtime_error when the section or its data array is not found.
std::vector<RowValue> profileRows(const std::string& document, const std::string& section);

// Every key a row refers to must name a row of the section it points into:
// the map or symbol of each sample and back-trace entry, the process of each
// sample and map, the maps of each symbol. One text for each that does not.
std::vector<std::string> profileKeyProblems(const std::string& document);

#endif
