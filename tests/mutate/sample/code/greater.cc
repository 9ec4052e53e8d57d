#include "code/sample.h"

int greater(int one, int other) { return one > other ? one : other; }
