#include "PerfJSONWriter.h"

#include <cstring>

#include "JsomStringWriter.h"
#include "Settings.h"

PerfJSONWriter::PerfJSONWriter() : PerfJSONWriter(true, true) {}

PerfJSONWriter::PerfJSONWriter(bool includeLabels, bool whiteSpace)
    : _writer(nullptr), _includeLabels(includeLabels), _whiteSpace(whiteSpace) {}

PerfJSONWriter::~PerfJSONWriter() { close(); }

void PerfJSONWriter::setWhiteSpace(bool whiteSpace) {
  _whiteSpace = whiteSpace;
  if (_writer != nullptr) _writer->_whiteSpace = whiteSpace;
}

void PerfJSONWriter::setIncludeLabels(bool includeLabels) { _includeLabels = includeLabels; }

int PerfJSONWriter::open(const char* name) {
  if (name == nullptr) return -1;
  _file.open(name, std::ios::out | std::ios::trunc | std::ios::binary);
  if (_file.is_open())
    _file.clear();
  else
    _file.setstate(std::ios::failbit);
  // Untouched capacity costs no memory; growing by doubling past a part's size would.
  _document.reserve(kPartBytes + kPartBytes / 8);
  _writer = std::make_unique<loomstat::JsomStringWriter>(_document);
  _writer->_whiteSpace = _whiteSpace;
  return 0;
}

void PerfJSONWriter::close() {
  if (_writer == nullptr) return;
  _writer->end();
  _writer->flush();
  _file.write(_document.data(), (std::streamsize)_document.size());
  _file << '\n';
  _file.flush();
  _file.close();
}

void PerfJSONWriter::_doLabel(const char* label) {
  if (_includeLabels) _writer->appendLabel(label, true);
}

void PerfJSONWriter::_terminateLine() {
  if (gReadable) _writer->write("\n", 1);
}

void PerfJSONWriter::_bufferJsonValue(const char* text, int length) {
  if (!_buffer.empty()) _buffer.push_back(',');
  _buffer.append(text, (size_t)length);
}

// A large series becomes a part of its own behind the value's comma, rather
// than being copied into the current part.
void PerfJSONWriter::_flushBuffer() {
  if (_buffer.size() < kPartBytes / 4) {
    _writer->appendJsonValue(_buffer.data(), (int)_buffer.size());
    _buffer.clear();
    _closePartIfFull();
    return;
  }
  if (_writer->startJsonValue()) {
    _closePart();
    _writePart(_buffer);
  }
  _buffer = std::string();
}

std::string PerfJSONWriter::document() const { return _document; }

// A finished part is never changed again, so it goes to the file at once and
// its memory is given back; only the part being written is held.
void PerfJSONWriter::_writePart(std::string& part) {
  _file.write(part.data(), (std::streamsize)part.size());
  part = std::string();
}

void PerfJSONWriter::_closePartIfFull() {
  if (_document.size() >= kPartBytes) _closePart();
}

void PerfJSONWriter::_closePart() {
  if (_document.empty()) return;
  // The text writer keeps writing to the same string object, now empty.
  _writePart(_document);
  _document.reserve(kPartBytes + kPartBytes / 8);
}

void PerfJSONWriter::write(unsigned long long value) { _writer->appendUnsignedLong(value); }
void PerfJSONWriter::write(unsigned int value) { _writer->appendUnsignedInt(value); }
void PerfJSONWriter::write(double value) { _writer->appendDouble(value, 9); }
void PerfJSONWriter::write(std::string& value) { _writer->appendString(value, false); }

void PerfJSONWriter::writeJson(const char* text) { _bufferJsonValue(text, (int)strlen(text)); }

void PerfJSONWriter::writeNamed(const char* label, unsigned long long value) {
  _doLabel(label);
  _writer->appendUnsignedLong(value);
}

void PerfJSONWriter::writeNamed(const char* label, unsigned int value) {
  _doLabel(label);
  _writer->appendUnsignedInt(value);
}

void PerfJSONWriter::writeNamed(const char* label, unsigned short value) {
  _doLabel(label);
  _writer->appendInt(value);
}

void PerfJSONWriter::writeNamed(const char* label, double value) {
  _doLabel(label);
  _writer->appendDouble(value, 9);
}

void PerfJSONWriter::writeNamed(const char* label, char* value) {
  writeNamed(label, (const char*)value);
}

void PerfJSONWriter::writeNamed(const char* label, const char* value) {
  _doLabel(label);
  _writer->appendString(value, (int)strlen(value), false);
}

void PerfJSONWriter::writeArrayStart(const char* label) {
  if (label != nullptr) _doLabel(label);
  _writer->startArray();
}

void PerfJSONWriter::writeArrayEnd() {
  _flushBuffer();
  _writer->endArray();
}

void PerfJSONWriter::writeStructStart() {
  _terminateLine();
  if (_includeLabels) _writer->startObject();
}

void PerfJSONWriter::writeStructEnd() {
  if (_includeLabels) _writer->endObject();
}

void PerfJSONWriter::newElementStart(const char* label) {
  if (label != nullptr && _includeLabels) _doLabel(label);
  _writer->startObject();
}

void PerfJSONWriter::newElementEnd() { _writer->endObject(); }

void PerfJSONWriter::writeNamed(const char* label, unsigned long long*, unsigned int count) {
  _doLabel(label);
  _writer->startArray();
  for (unsigned int i = 0; i < count; i++) _writer->appendUnsignedInt(count);
  _writer->endArray();
}
