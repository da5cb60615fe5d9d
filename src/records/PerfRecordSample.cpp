#include "PerfRecordSample.h"

double PerfRecordSample::_firstSampleTime = 0.0;
