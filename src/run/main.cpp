#include "Driver.h"

int main(int argc, char** argv) { return runConverter(argc, argv); }
