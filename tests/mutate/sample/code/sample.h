#pragma once

#include <string>

int greater(int one, int other);
bool isAdult(int age);
std::string greeting(const std::string &name);
