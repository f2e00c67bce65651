// Digest: SHA-256 (FIPS 180-4) of an import file's content, by which the journal knows it again.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qm {

class Digest {
 public:
  void Update(std::string_view bytes);
  /// 64 hexadecimal digits; nothing may follow.
  std::string Finish();

 private:
  void Block(const unsigned char* bytes);

  std::array<std::uint32_t, 8> state_ = {0x6a09e667U, 0xbb67ae85U, 0x3c6ef372U, 0xa54ff53aU,
                                         0x510e527fU, 0x9b05688cU, 0x1f83d9abU, 0x5be0cd19U};
  std::array<unsigned char, 64> pending_{};
  std::size_t pending_size_ = 0;
  std::uint64_t length_ = 0;
};

}  // namespace qm
