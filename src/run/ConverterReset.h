// The converter's lasting state between conversions in one process.
#ifndef ZELCONV_CONVERTERRESET_H
#define ZELCONV_CONVERTERRESET_H

// Deletes every record, map, symbol table, file name and chart that the
// conversions so far made, empties the tables that held them, starts every
// running key afresh, and sets the program-wide settings back to the values
// they had at the first call (which is made before anything changes them).
void resetConverter();

#endif
