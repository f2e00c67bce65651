#include "datasets/import_digest.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qm {

namespace {

constexpr std::array<std::uint32_t, 64> kRound = {
    0x428a2f98U, 0x71374491U, 0xb5c0fbcfU, 0xe9b5dba5U, 0x3956c25bU, 0x59f111f1U, 0x923f82a4U,
    0xab1c5ed5U, 0xd807aa98U, 0x12835b01U, 0x243185beU, 0x550c7dc3U, 0x72be5d74U, 0x80deb1feU,
    0x9bdc06a7U, 0xc19bf174U, 0xe49b69c1U, 0xefbe4786U, 0x0fc19dc6U, 0x240ca1ccU, 0x2de92c6fU,
    0x4a7484aaU, 0x5cb0a9dcU, 0x76f988daU, 0x983e5152U, 0xa831c66dU, 0xb00327c8U, 0xbf597fc7U,
    0xc6e00bf3U, 0xd5a79147U, 0x06ca6351U, 0x14292967U, 0x27b70a85U, 0x2e1b2138U, 0x4d2c6dfcU,
    0x53380d13U, 0x650a7354U, 0x766a0abbU, 0x81c2c92eU, 0x92722c85U, 0xa2bfe8a1U, 0xa81a664bU,
    0xc24b8b70U, 0xc76c51a3U, 0xd192e819U, 0xd6990624U, 0xf40e3585U, 0x106aa070U, 0x19a4c116U,
    0x1e376c08U, 0x2748774cU, 0x34b0bcb5U, 0x391c0cb3U, 0x4ed8aa4aU, 0x5b9cca4fU, 0x682e6ff3U,
    0x748f82eeU, 0x78a5636fU, 0x84c87814U, 0x8cc70208U, 0x90befffaU, 0xa4506cebU, 0xbef9a3f7U,
    0xc67178f2U};

}  // namespace

void Digest::Block(const unsigned char* bytes) {
  std::array<std::uint32_t, 64> w;
  for (std::size_t i = 0; i < 16; ++i) {
    w[i] = std::uint32_t{bytes[4 * i]} << 24U | std::uint32_t{bytes[4 * i + 1]} << 16U |
           std::uint32_t{bytes[4 * i + 2]} << 8U | std::uint32_t{bytes[4 * i + 3]};
  }
  for (std::size_t i = 16; i < 64; ++i) {
    const std::uint32_t s0 = std::rotr(w[i - 15], 7) ^ std::rotr(w[i - 15], 18) ^ w[i - 15] >> 3U;
    const std::uint32_t s1 = std::rotr(w[i - 2], 17) ^ std::rotr(w[i - 2], 19) ^ w[i - 2] >> 10U;
    w[i] = w[i - 16] + s0 + w[i - 7] + s1;
  }
  auto [a, b, c, d, e, f, g, h] = state_;
  for (std::size_t i = 0; i < 64; ++i) {
    const std::uint32_t s1 = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
    const std::uint32_t t1 = h + s1 + ((e & f) ^ (~e & g)) + kRound[i] + w[i];
    const std::uint32_t s0 = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
    const std::uint32_t t2 = s0 + ((a & b) ^ (a & c) ^ (b & c));
    h = g;
    g = f;
    f = e;
    e = d + t1;
    d = c;
    c = b;
    b = a;
    a = t1 + t2;
  }
  const std::array<std::uint32_t, 8> added = {a, b, c, d, e, f, g, h};
  for (std::size_t i = 0; i < 8; ++i) state_[i] += added[i];
}

void Digest::Update(std::string_view bytes) {
  length_ += bytes.size();
  while (!bytes.empty()) {
    const std::size_t count = std::min(bytes.size(), pending_.size() - pending_size_);
    std::memcpy(pending_.data() + pending_size_, bytes.data(), count);
    bytes.remove_prefix(count);
    pending_size_ += count;
    if (pending_size_ == pending_.size()) {
      Block(pending_.data());
      pending_size_ = 0;
    }
  }
}

std::string Digest::Finish() {
  const std::uint64_t bits = length_ * 8;
  Update(std::string_view("\x80", 1));
  while (pending_size_ != 56) Update(std::string_view("\0", 1));
  std::string size;
  for (int shift = 56; shift >= 0; shift -= 8) size += static_cast<char>(bits >> shift & 0xFFU);
  Update(size);

  std::string digits;
  for (const std::uint32_t word : state_) {
    for (int shift = 28; shift >= 0; shift -= 4) {
      digits += "0123456789abcdef"[word >> shift & 0xFU];
    }
  }
  return digits;
}

}  // namespace qm
