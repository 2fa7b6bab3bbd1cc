#include "json/sha256.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <vector>

namespace vq {
namespace {

constexpr std::array<std::uint32_t, 64> kRoundConstants = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

constexpr std::uint32_t RotateRight(std::uint32_t x, int n) { return (x >> n) | (x << (32 - n)); }

// The running state over whole 64-byte blocks.
class Sha256 {
 public:
  void Update(const unsigned char* data, std::size_t size) {
    length_ += size;
    for (std::size_t k = 0; k < size; ++k) {
      block_[filled_++] = data[k];
      if (filled_ == 64) {
        Compress();
        filled_ = 0;
      }
    }
  }

  std::string FinishHex() {
    const std::uint64_t bits = length_ * 8;
    const unsigned char one = 0x80;
    const unsigned char zero = 0;
    Update(&one, 1);
    while (filled_ != 56) Update(&zero, 1);
    for (int k = 7; k >= 0; --k) {
      const unsigned char byte = static_cast<unsigned char>(bits >> (8 * k));
      Update(&byte, 1);
    }
    static const char kHex[] = "0123456789abcdef";
    std::string hex;
    for (std::uint32_t word : state_) {
      for (int k = 28; k >= 0; k -= 4) hex += kHex[(word >> k) & 0xf];
    }
    return hex;
  }

 private:
  void Compress() {
    std::array<std::uint32_t, 64> w{};
    for (int t = 0; t < 16; ++t) {
      w[t] = static_cast<std::uint32_t>(block_[4 * t]) << 24 |
             static_cast<std::uint32_t>(block_[4 * t + 1]) << 16 |
             static_cast<std::uint32_t>(block_[4 * t + 2]) << 8 | block_[4 * t + 3];
    }
    for (int t = 16; t < 64; ++t) {
      const std::uint32_t s0 =
          RotateRight(w[t - 15], 7) ^ RotateRight(w[t - 15], 18) ^ (w[t - 15] >> 3);
      const std::uint32_t s1 =
          RotateRight(w[t - 2], 17) ^ RotateRight(w[t - 2], 19) ^ (w[t - 2] >> 10);
      w[t] = w[t - 16] + s0 + w[t - 7] + s1;
    }
    std::uint32_t a = state_[0], b = state_[1], c = state_[2], d = state_[3];
    std::uint32_t e = state_[4], f = state_[5], g = state_[6], h = state_[7];
    for (int t = 0; t < 64; ++t) {
      const std::uint32_t sum1 = RotateRight(e, 6) ^ RotateRight(e, 11) ^ RotateRight(e, 25);
      const std::uint32_t choose = (e & f) ^ (~e & g);
      const std::uint32_t t1 = h + sum1 + choose + kRoundConstants[t] + w[t];
      const std::uint32_t sum0 = RotateRight(a, 2) ^ RotateRight(a, 13) ^ RotateRight(a, 22);
      const std::uint32_t majority = (a & b) ^ (a & c) ^ (b & c);
      const std::uint32_t t2 = sum0 + majority;
      h = g;
      g = f;
      f = e;
      e = d + t1;
      d = c;
      c = b;
      b = a;
      a = t1 + t2;
    }
    state_[0] += a, state_[1] += b, state_[2] += c, state_[3] += d;
    state_[4] += e, state_[5] += f, state_[6] += g, state_[7] += h;
  }

  std::array<std::uint32_t, 8> state_ = {0x6a09e667,
                                         0xbb67ae85,
                                         0x3c6ef372,
                                         0xa54ff53a,
                                         0x510e527f,
                                         0x9b05688c,
                                         0x1f83d9ab,
                                         0x5be0cd19};
  std::array<unsigned char, 64> block_{};
  std::size_t filled_ = 0;
  std::uint64_t length_ = 0;
};

}  // namespace

std::string Sha256Hex(std::string_view bytes) {
  Sha256 hash;
  hash.Update(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
  return hash.FinishHex();
}

std::optional<std::string> Sha256OfFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;
  Sha256 hash;
  std::vector<char> buffer(1 << 16);
  while (in) {
    in.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    const std::streamsize got = in.gcount();
    if (got > 0) hash.Update(reinterpret_cast<const unsigned char*>(buffer.data()), got);
  }
  if (in.bad()) return std::nullopt;
  return hash.FinishHex();
}

}  // namespace vq
