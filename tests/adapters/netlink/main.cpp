#include <gtest/gtest.h>

#include "tests/adapters/netlink/OwnNetwork.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  tlx::netlink::test::OwnNetwork::enter();
  return RUN_ALL_TESTS();
}
