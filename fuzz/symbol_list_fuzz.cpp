// The symbol-list parser: SymbolTable::readFromFile over the text of an nm
// listing or of the kernel's symbol list, then look-ups and the rows of the
// "functions" section over the table it built.
//
// Input: one byte of options, then the text.
//   bit 0  the kernel's list: the text becomes the sandbox's /proc/kallsyms
//          and is read under that name, as a profile run reads it (else an
//          nm listing in a file of its own)
//   bit 1  verbosity 1: the parser's diagnostics on standard output, which
//          run-fuzz.sh closes
#include <cstdint>
#include <cstdlib>
#include <string>

#include "FileNames.h"
#include "FuzzSupport.h"
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
        exercise(table);
    }
    resetConverter();
    return 0;
}
