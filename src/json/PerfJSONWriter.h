// The one output interface of the program. Builds the document through the
// JSON text writer in parts of memory, writing each part to the file once it
// is full and the last at close. Two switches shape the output: labels (off turns records written
// with writeStructStart into bare values of the enclosing array) and white
// space. Chart series are gathered as ready-made text in a side buffer.
#ifndef ZELCONV_PERFJSONWRITER_H
#define ZELCONV_PERFJSONWRITER_H

#include <fstream>
#include <memory>
#include <string>

namespace loomstat {
class JsomStringWriter;
}

class PerfJSONWriter {
 public:
  PerfJSONWriter();
  PerfJSONWriter(bool includeLabels, bool whiteSpace);
  virtual ~PerfJSONWriter();

  virtual void setWhiteSpace(bool whiteSpace);
  virtual void setIncludeLabels(bool includeLabels);
  // -1 only for a null name; a file that cannot be created still gives 0.
  virtual int open(const char* name);
  virtual void close();
  virtual void write(unsigned long long value);
  virtual void write(unsigned int value);
  virtual void write(double value);
  virtual void write(std::string& value);
  virtual void writeJson(const char* text);
  virtual void writeNamed(const char* label, unsigned long long value);
  virtual void writeNamed(const char* label, unsigned int value);
  virtual void writeNamed(const char* label, unsigned short value);
  virtual void writeNamed(const char* label, double value);
  virtual void writeNamed(const char* label, char* value);
  virtual void writeNamed(const char* label, const char* value);
  virtual void writeArrayStart(const char* label);
  virtual void writeArrayEnd();
  virtual void writeStructStart();
  virtual void writeStructEnd();
  virtual void newElementStart(const char* label);
  virtual void newElementEnd();
  // Writes `count` as each of `count` elements; the array itself is not read.
  virtual void writeNamed(const char* label, unsigned long long* values, unsigned int count);

  // The text of the part still being written: for a document of less
  // than one part, the whole document so far.
  std::string document() const;

  // The document is made in parts of about this size: a part is never
  // copied to grow, and each is written to the file once it is full.
  static constexpr size_t kPartBytes = (size_t)4 << 20;

 private:
  void _doLabel(const char* label);
  void _terminateLine();
  void _bufferJsonValue(const char* text, int length);
  void _flushBuffer();
  // Puts the current part behind the finished ones once it is full.
  void _closePartIfFull();
  void _closePart();
  void _writePart(std::string& part);

  std::ofstream _file;
  std::string _document;
  std::unique_ptr<loomstat::JsomStringWriter> _writer;
  std::string _buffer;
  bool _includeLabels;
  bool _whiteSpace;
};

#endif
