// Owners for what create/destroy pairs and C libraries hand out.
#pragma once

#include <cstdlib>
#include <memory>

namespace vrn {

template <auto Destroy>
struct CDeleter {
    template <typename T>
    void operator()(T *object) const {
        Destroy(object);
    }
};

// A unique_ptr, one pointer wide, that ends its object with `Destroy`.
template <typename T, auto Destroy>
using CPtr = std::unique_ptr<T, CDeleter<Destroy>>;

// Owns a text or block that ends with free().
using CString = CPtr<char, std::free>;

}  // namespace vrn
