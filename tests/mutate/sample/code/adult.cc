#include "code/sample.h"

bool isAdult(int age) { return age >= 18; }

std::string greeting(const std::string &name) { return "Hello " + name; }
