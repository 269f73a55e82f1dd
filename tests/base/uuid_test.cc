#include "base/uuid.h"

#include <gtest/gtest.h>

#include "base/hex.h"

namespace zarn::base {
namespace {

constexpr std::string_view kText = "00112233-4455-6677-8899-AABBCCDDEEFF";

TEST(Uuid, ReadsEitherCaseAndWritesUpperCase) {
  const auto upper = Uuid::parse(kText);
  ASSERT_TRUE(upper);
  EXPECT_EQ(upper->text(), kText);
  EXPECT_EQ(upper->bytes[15], 0xff);
  EXPECT_EQ(Uuid::parse("00112233-4455-6677-8899-aabbccddeeff"), upper);
}

TEST(Uuid, RefusesOtherForms) {
  for (const char* text :
       {"", "00112233445566778899AABBCCDDEEFF", "{0112233-4455-6677-8899-AABBCCDDEEF}",
        "00112233-4455-6677-8899-AABBCCDDEEFG", "001122334-455-6677-8899-AABBCCDDEEFF",
        "00112233-4455-6677-8899-AABBCCDDEEFF0", "00112233-4455-6677-8899-AABBCCDDEE-F"}) {
    EXPECT_FALSE(Uuid::parse(text)) << text;
  }
}

TEST(Uuid, FromRandomIsVersionFour) {
  std::array<std::uint8_t, 16> random{};
  EXPECT_EQ(uuidFromRandom(random).text(), "00000000-0000-4000-8000-000000000000");
  random.fill(0xff);
  EXPECT_EQ(uuidFromRandom(random).text(), "FFFFFFFF-FFFF-4FFF-BFFF-FFFFFFFFFFFF");
}

TEST(Hex, WritesBytesAndNumbers) {
  const std::array<std::uint8_t, 10> bytes{0x00, 0x0f, 0xa0, 0xff, 1, 2, 3, 4, 5, 6};
  EXPECT_EQ(lowerHex(bytes), "000fa0ff010203040506");
  EXPECT_EQ(upperHex(bytes), "000FA0FF010203040506");
  EXPECT_EQ(shortHash(bytes), "000fa0ff01020304");
  EXPECT_EQ(lowerHex(std::uint64_t{0}), "0");
  EXPECT_EQ(lowerHex(std::uint64_t{0x0abcdef012345678}), "abcdef012345678");
  EXPECT_EQ(upperHex(~std::uint64_t{0}), "FFFFFFFFFFFFFFFF");
}

}  // namespace
}  // namespace zarn::base
