// Root of the records and the symbol tables. Carries the switch that lets the
// symbol tables skip destroying their elements one by one at the end of a run.
#ifndef ZELCONV_PERFFOUNDATION_H
#define ZELCONV_PERFFOUNDATION_H

class PerfFoundation {
public:
    static bool _bypassDestructor;
};

#endif
