#include "PerfFoundation.h"

bool PerfFoundation::_bypassDestructor = false;
