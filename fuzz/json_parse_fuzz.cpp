// Feeds one input to both parser twins, checks that they agree, and works the
// resulting trees through the printers, copies and the document handle.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

#include "JSOM.h"
#include "JSONData.h"

using loomstat::JSOM;
using loomstat::JSONData;

namespace {

void fail(const char* what, const std::string& a, const std::string& b)
{
    std::printf("%s\n  cursor: %s\n  stream: %s\n", what, a.c_str(), b.c_str());
    std::abort();
}

void exercise(const JSONData& node)
{
    std::string text;
    node.toJsonString(text, true, 4);
    node.toJsonString(text, false, 0);
    std::ostringstream stream;
    node.appendStream(stream);
    JSONData* clone = node.clone();
    clone->addReference();
    clone->copy(*clone);
    if (clone->length() > 0)
        clone->copy(*clone->getByIndex(0));
    JSONData::release(clone);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);

    JSONData fromCursor;
    const char* cursor = text.c_str();
    const bool cursorOk = fromCursor.setFromJsonString(cursor);
    if (cursor < text.c_str() || cursor > text.c_str() + std::strlen(text.c_str())) {
        fail("cursor left the text", text, "");
    }

    JSONData fromStream;
    std::istringstream in(text);
    const bool streamOk = fromStream.setFromStream(in);

    // Without NUL bytes the twins must build the same tree.
    if (std::memchr(data, 0, size) == nullptr) {
        std::string a, b;
        fromCursor.toJsonString(a, false, 17);
        fromStream.toJsonString(b, false, 17);
        if (cursorOk != streamOk)
            fail("twins disagree on success", a, b);
        if (a != b)
            fail("twins built different trees", a, b);
    }
    exercise(fromCursor);
    exercise(fromStream);

    JSOM doc;
    doc.fromString(text);
    doc.expandValues();
    for (int i = 0; i < doc.size() && i < 64; ++i) {
        JSOM child = doc[i];
        child.booleanValue(false);
        child.longValue(0);
        child.doubleValue(0);
        child.stringValue(JSOM::EMPTY_STRING);
    }
    std::string pretty;
    doc.toString(pretty);
    return 0;
}
