#include <qm/linker.h>

namespace qm {

struct Linker::State {};

Linker::Linker() : state_(std::make_unique<State>()) {}
Linker::~Linker() = default;
Linker::Linker(Linker&&) noexcept = default;
Linker& Linker::operator=(Linker&&) noexcept = default;

}  // namespace qm
