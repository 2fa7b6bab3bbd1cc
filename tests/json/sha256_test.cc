// SHA-256 against the example vectors of FIPS 180-4 (and the padding edges:
// 55, 56 and 64 bytes, where the length moves to a block of its own).
#include "json/sha256.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace vq {
namespace {

struct DigestCase {
  std::string input;
  const char* digest;
};

TEST(Sha256Test, KnownDigests) {
  const DigestCase cases[] = {
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
      {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmn"
       "opqrsmnopqrstnopqrstu",
       "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1"},
      {std::string(55, 'a'), "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
      {std::string(56, 'a'), "b35439a4ac6f0948b6d6f9e3c6af0f5f590ce20f1bde7090ef7970686ec6738a"},
      {std::string(64, 'a'), "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
      {std::string(1000000, 'a'),
       "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
  };
  for (const DigestCase& c : cases) {
    EXPECT_EQ(Sha256Hex(c.input), c.digest) << "length " << c.input.size();
  }
}

TEST(Sha256Test, FileAsItsBytes) {
  const std::string path = ::testing::TempDir() + "sha256_file_test.bin";
  std::string bytes(200000, '\0');
  for (std::size_t k = 0; k < bytes.size(); ++k) bytes[k] = static_cast<char>(k * 7 + 3);
  {
    std::ofstream out(path, std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  EXPECT_EQ(Sha256OfFile(path), Sha256Hex(bytes));
  std::remove(path.c_str());
  EXPECT_EQ(Sha256OfFile(path), std::nullopt);
}

}  // namespace
}  // namespace vq
