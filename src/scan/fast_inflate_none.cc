#include "scan/fast_inflate.h"

namespace vrn {

std::unique_ptr<FastInflate> FastInflate::create() {
    return nullptr;
}

}  // namespace vrn
