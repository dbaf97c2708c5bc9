// The border between code that throws and flat entries that answer true or false.
#pragma once

namespace vrn {

// True when `action` came to its end; no exception leaves.
template <typename Action>
[[nodiscard]] bool catch_all(Action action) {
    try {
        action();
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace vrn
