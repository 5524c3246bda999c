// The C header check, compiled as C++.
#include "header_check.c"
