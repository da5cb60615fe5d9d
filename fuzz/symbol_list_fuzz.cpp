// The symbol-list parser: SymbolTable::readFromFile over the text of an nm
// listing or of the kernel's symbol list, then look-ups and the rows of the
// "functions" section over the table it built.
//
// The lines the parser is handed from a list held in memory are checked
// against what fgets and feof give over the same text in a file: the
// buffer's bytes after every read, the read's result and the end flag, for
// the parser's buffer of 4096 bytes and for a small one that splits lines.
//
// Input: one byte of options, then the text.
//   bit 0  the kernel's list: the text becomes the sandbox's /proc/kallsyms
//          and is read under that name, as a profile run reads it (else an
//          nm listing in a file of its own)
//   bit 1  verbosity 1: the parser's diagnostics on standard output, which
//          run-fuzz.sh closes
//   bits 2-7  the small buffer's size, less 2
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "FileNames.h"
#include "FuzzSupport.h"
#include "ListingText.h"
#include "PerfJSONWriter.h"
#include "Settings.h"
#include "SymbolTable.h"
#include "SymbolTableElement.h"
#include "SystemFiles.h"

namespace {

std::string nmListPath()
{
    return fuzzSandbox() + "/tmp/nm-list";
}

// Looks up the bounds of every symbol and a few addresses around them, marks
// what it finds as used, and writes the used rows.
void exercise(SymbolTable& table)
{
    size_t probes = 0;
    for (size_t i = 0; i < table._elements.size() && probes < 256; i++, probes++) {
        const SymbolTableElement* element = table._elements[i];
        for (unsigned long long address : {element->_address, element->_address + element->_size,
                                           element->_address - 1, element->_address + element->_size + 1}) {
            SymbolTableElement* found = table.findElement(address);
            if (found != nullptr)
                found->markUsed(address);
            (void)table.findElementLinear(address);
        }
    }
    PerfJSONWriter writer(false, true);
    writer.open("/dev/null");
    writer.writeArrayStart("data");
    table.out(writer, 0);
    table.outKeys(writer);
    writer.writeArrayEnd();
    writer.close();
}

void compareLines(const std::string& path, const std::string& text, int size)
{
    FILE* file = fopen(path.c_str(), "r");
    if (file == nullptr)
        abort();
    ListingText listing(text);
    std::vector<char> expected((size_t)size, 'x'), actual((size_t)size, 'x');
    while (!feof(file)) {
        const bool read = fgets(expected.data(), size, file) != nullptr || !ferror(file);
        if (listing.atEnd() || listing.readLine(actual.data(), size) != read || expected != actual ||
            listing.atEnd() != (feof(file) != 0))
            abort();
    }
    if (!listing.atEnd())
        abort();
    fclose(file);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    (void)fuzzSandbox();
    resetConverter();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return -1;
    const bool kernel = (data[0] & 1) != 0;
    gVerbosity = (data[0] & 2) != 0 ? 1 : 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    FileNames::createEmptyRef();
    {
        SymbolTable table;
        if (kernel) {
            writeWholeFile(fuzzSystemRoot() + SystemFiles::kallsyms, text);
            if (table.readFromFile(SystemFiles::kallsyms) != 0)
                abort();
        } else {
            writeWholeFile(nmListPath(), text);
            if (table.readFromFile(nmListPath().c_str()) != 0)
                abort();
        }
        const std::string written = kernel ? fuzzSystemRoot() + SystemFiles::kallsyms : nmListPath();
        compareLines(written, text, 4096);
        compareLines(written, text, 2 + (data[0] >> 2));
        exercise(table);
    }
    resetConverter();
    return 0;
}
