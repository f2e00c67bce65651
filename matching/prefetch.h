// Prefetch: tells the processor what will be read soon, where the compiler can.
#pragma once

namespace qm {

inline void Prefetch([[maybe_unused]] const void* address) {
#if defined(__GNUC__)
  __builtin_prefetch(address);
#endif
}

}  // namespace qm
