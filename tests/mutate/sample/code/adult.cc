#include "code/sample.h"

// The tool mutates a hexadecimal number as a whole, to 17 and 19.
bool isAdult(int age) { return age >= 0x12; }

std::string greeting(const std::string &name) { return "Hello " + name; }
