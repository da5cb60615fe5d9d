#include "PerfReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>

#include "Settings.h"

#ifndef O_LARGEFILE
#define O_LARGEFILE 0
#endif

PerfReader::PerfReader() : _fd(0), _lastRead(0) {}

PerfReader::~PerfReader()
{
    close();
    _fd = 0;
}

int PerfReader::open(const char* name)
{
    if (name == nullptr)
        return -1;
    _fd = ::open(name, O_RDONLY | O_LARGEFILE);
    return _fd > 0 ? 0 : -1;
}

void PerfReader::_announceRead(int size)
{
    if (gVerbosity > 1)
        printf("PerfReader:size:%d\n", size);
    if (size > 2048 || size == 0)
        printf("Large reader size:%d\n", size);
}

int PerfReader::read(char* buffer, int size)
{
    _announceRead(size);
    if (_fd <= 0)
        return -1;
    _lastRead = (int)::read(_fd, buffer, size < 0 ? 0 : (size_t)size);
    return _lastRead;
}

void PerfReader::close()
{
    if (_fd > 0)
        ::close(_fd);
}

bool PerfReader::status()
{
    return _lastRead != 0;
}

void PerfReader::seek(int offset)
{
    if (_fd > 0)
        (void)::lseek(_fd, (off_t)(int64_t)offset, SEEK_SET);
}
