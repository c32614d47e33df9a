// Nothing: the header is what is wanted.
#include "tests/support/precompiled.h"
