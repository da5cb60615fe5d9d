// The GPU core that a kgsl trace-point names. The device name ("kgsl-3d0")
// is a location word at the payload's start; the number at position 5 is the
// dimension and the number at position 7 the device, read at those fixed
// positions whatever stands in front of them.
#ifndef ZELCONV_KGSLDEVICE_H
#define ZELCONV_KGSLDEVICE_H

#include <cstdint>
#include <string>

class EventPayload;

class KgslDevice {
public:
    explicit KgslDevice(const EventPayload& payload);

    // The chart status of an interrupt status word: 17 for the IB1 completion
    // bit alone, 18 for the RB completion bit alone, 19 for any other word.
    static int irqStatus(uint32_t status);
    // A power switch of the GPU core: the flag at payload offset 4 added to
    // the switch's base gives the chart status.
    static void addPowerStatus(const EventPayload& payload, unsigned int base);

    std::string name;
    int dimension;
    int device;
};

#endif
