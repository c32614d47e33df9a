// The tools of spectral band replication, one by one.
#include <gtest/gtest.h>
