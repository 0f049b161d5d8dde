#include <gtest/gtest.h>

#include "tests/support/OwnNetwork.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  tlx::test::OwnNetwork::enter();
  return RUN_ALL_TESTS();
}
