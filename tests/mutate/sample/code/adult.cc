#include "code/sample.h"

// The digits of a hexadecimal number are replaced together.
bool isAdult(int age) { return age >= 0x12; }

std::string greeting(const std::string &name) { return "Hello " + name; }
