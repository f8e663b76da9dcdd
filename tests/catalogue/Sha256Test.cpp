// The checksum sha256, beside the standard's examples; CatalogueTest.py compares it with sha256sum.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "ChecksumHelpers.h"

namespace {

using catalogue::Checksum;

const CatalogueChecksum& sha256Plugin() {
  static const CatalogueChecksum& plugin = builtChecksum("sha256");
  return plugin;
}

std::string checksumOf(std::string_view bytes) { return checksumOf(sha256Plugin(), bytes); }

TEST(Sha256Test, ExamplesOfTheStandardComeOut) {
  const struct {
    std::string bytes;
    const char* checksum;
  } cases[] = {
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
      {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmn"
       "hijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu",
       "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1"},
      {std::string(1'000'000, 'a'),
       "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
  };
  for (const auto& c : cases) EXPECT_EQ(checksumOf(c.bytes), c.checksum) << c.bytes.size();
}

TEST(Sha256Test, BytesMayComeInPieces) {
  const std::string bytes = randomBytes(300);
  for (std::size_t count = 0; count <= bytes.size(); ++count) {
    const auto whole = std::string_view(bytes).substr(0, count);
    for (const std::size_t piece : {1u, 7u, 55u, 63u, 64u, 65u, 129u}) {
      Checksum checksum(sha256Plugin());
      for (std::size_t at = 0; at < count; at += piece) checksum.add(whole.substr(at, piece));
      ASSERT_EQ(checksum.toString(), checksumOf(whole)) << count << ' ' << piece;
    }
  }
}

TEST(Sha256Test, TellingTheChecksumLeavesItToBeGoneOnWith) {
  Checksum checksum(sha256Plugin());
  checksum.add("ab");
  checksum.toString();
  checksum.add("c");

  EXPECT_EQ(checksum.toString(), checksumOf("abc"));
}

TEST(Sha256Test, PartsDoNotMakeTheWhole) { EXPECT_EQ(sha256Plugin().combine, nullptr); }

}  // namespace
