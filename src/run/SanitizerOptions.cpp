// Records, maps, symbol tables and charts live until the process ends by
// design, held by static tables that exit tears down first; a leak check at
// exit would report all of them. Only sanitizer builds read this.
extern "C" const char* __asan_default_options() { return "detect_leaks=0"; }
