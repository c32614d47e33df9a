#include "captions/cea708_packets.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/captions/cea708_stream.h"

namespace fmp4 {

namespace {

using captions::CcConstruct;
using captions::CcType;
using captions::Cea708Packets;
using namespace cea708;

// What packets give: "service:text" of each block, "lost" where a packet is missing.
class Received {
 public:
  void add(const std::vector<CcConstruct>& constructs) {
    for (const CcConstruct& construct : constructs)
      packets_.add(
          construct,
          [this](unsigned service, std::span<const std::uint8_t> block) {
            list_.push_back(std::to_string(service) + ':' + std::string(block.begin(), block.end()));
          },
          [this] { list_.push_back("lost"); });
  }
  std::vector<std::string> take() { return std::exchange(list_, {}); }

 private:
  Cea708Packets packets_;
  std::vector<std::string> list_;
};

using List = std::vector<std::string>;

TEST(Cea708Packets, HaveServiceBlocks) {
  Received received;
  received.add(constructs(packet(0, block(1, chars("one")) + block(6, chars("six")) +
                                        block(7, chars("seven")) + block(63, chars("last")))));
  EXPECT_EQ(received.take(), (List{"1:one", "6:six", "7:seven", "63:last"}));
}

TEST(Cea708Packets, ANullBlockEndsAPacket) {
  Received received;
  received.add(constructs(packet(0, block(1, chars("one")) + Bytes{0x00} + block(2, chars("no")))));
  EXPECT_EQ(received.take(), List{"1:one"});
}

TEST(Cea708Packets, TheLargestHas128Bytes) {
  Received received;
  Bytes blocks;
  for (unsigned i = 0; i < 3; ++i) blocks = blocks + block(1, Bytes(31, byte('a' + i)));
  Bytes largest = packet(0, blocks + block(2, Bytes(30, 'z')));
  ASSERT_EQ(largest.size(), 128u);
  EXPECT_EQ(largest[0], 0);
  received.add(constructs(largest));
  EXPECT_EQ(received.take().size(), 4u);
}

TEST(Cea708Packets, MissingOnesAreNoticed) {
  Received received;
  for (const unsigned sequence : {1u, 2u, 3u, 0u, 2u})
    received.add(constructs(packet(sequence, block(1, chars("a")))));
  EXPECT_EQ(received.take(), (List{"1:a", "1:a", "1:a", "1:a", "lost", "1:a"}));
}

TEST(Cea708Packets, AnIncompletePacketIsDropped) {
  Received received;
  auto cut = constructs(packet(0, block(1, chars("dropped"))));
  cut.pop_back();
  received.add(cut);
  received.add(constructs(packet(0, block(1, chars("next")))));
  EXPECT_EQ(received.take(), List{"1:next"});
}

TEST(Cea708Packets, DataWithoutAStartAndInvalidDataAreIgnored) {
  Received received;
  auto data = constructs(packet(0, block(1, chars("text"))));
  const CcConstruct filler = {CcType::PacketData, false, {0, 0}};
  received.add({data.begin() + 1, data.end()});
  EXPECT_TRUE(received.take().empty());
  data.insert(data.begin() + 1, filler);
  data.insert(data.begin() + 1, CcConstruct{CcType::Field1, true, {0x94, 0x20}});
  received.add(data);
  EXPECT_EQ(received.take(), List{"1:text"});
}

TEST(Cea708Packets, ABlockLongerThanItsPacketIsDropped) {
  Received received;
  received.add(constructs(packet(0, block(1, chars("a")) + Bytes{byte(2 << 5 | 20), 'x', 'y'})));
  EXPECT_EQ(received.take(), List{"1:a"});
}

TEST(Cea708Packets, AreForgottenOnceComplete) {
  Received received;
  const auto constructs = cea708::constructs(packet(0, block(1, chars("ab"))));
  received.add(constructs);
  EXPECT_EQ(received.take(), (List{"1:ab"}));
  // More data without a start belongs to no packet.
  received.add({constructs.begin() + 1, constructs.end()});
  EXPECT_EQ(received.take(), List());
  // Nor does what follows a start that is not valid.
  auto invalid = constructs;
  invalid[0].valid = false;
  received.add(invalid);
  EXPECT_EQ(received.take(), List());
}

TEST(Cea708Packets, AnEmptyBlockOfTheExtendedServicesHasNoNumber) {
  Received received;
  received.add(constructs(packet(0, Bytes{7 << 5} + block(1, chars("a")))));
  EXPECT_EQ(received.take(), List{"1:a"});
}

TEST(Cea708Packets, DataAfterAnInvalidStartMakeNoPacket) {
  Received received;
  const Bytes bytes = packet(0, block(1, chars("ab")) + Bytes{0});
  std::vector<CcConstruct> all = constructs(bytes);
  all[0].valid = false;
  for (CcConstruct data : constructs(bytes)) {
    data.type = CcType::PacketData;
    all.push_back(data);
  }
  received.add(all);
  EXPECT_EQ(received.take(), List());
}

TEST(Cea708Packets, EndlessDataAfterTheLargestAreIgnored) {
  Received received;
  const auto largest = constructs(packet(0, block(1, Bytes(31, 'a')) + block(1, Bytes(31, 'b')) +
                                                block(1, Bytes(31, 'c')) + block(1, Bytes(30, 'd'))));
  received.add(largest);
  EXPECT_EQ(received.take().size(), 4u);
  // Beyond the packet's bytes there are those of the object, which these would change.
  received.add(std::vector(4, CcConstruct{CcType::PacketData, true, {0xFF, 0xFF}}));
  received.add(constructs(packet(1, block(1, chars("next")))));
  EXPECT_EQ(received.take(), List{"1:next"});
}

}  // namespace

}  // namespace fmp4
