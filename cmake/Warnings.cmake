# One interface target carries the warnings of our own code; third-party code never sees it.
add_library(vrn_warnings INTERFACE)
target_compile_options(vrn_warnings INTERFACE
    -Wall -Wextra -Wshadow -Wformat=2 -Wcast-align -Wundef -Wvla
    $<$<COMPILE_LANGUAGE:CXX>:-Wconversion -Wno-sign-conversion -Wold-style-cast>
    # g++ 12 sees overlaps and unset values inside std::string and std::regex where there are none.
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict -Wno-maybe-uninitialized>
    $<$<BOOL:${VRN_WERROR}>:-Werror>)
