// Magic numbers: "VRN" and a letter that says what follows; closing magics are in lower case.
#pragma once

inline constexpr char VRN_MAGIC_FILE = 'F';
inline constexpr char VRN_MAGIC_COUNTERS = 'D';
inline constexpr char VRN_MAGIC_EVENTS = 'E';
inline constexpr char VRN_MAGIC_SCHEMAS = 'S';
inline constexpr char VRN_MAGIC_BLOB = 'B';
inline constexpr char VRN_MAGIC_PAGE = 'P';
inline constexpr char VRN_MAGIC_CNTX = 'X';

// All magics are 4 bytes without a terminator.
void vrn_magic_set(char *magic, char letter);
void vrn_magic_set_end(char *magic, char letter);
void vrn_magic_copy(char *to, const char *from);
bool vrn_magic_matches(const char *magic, char letter);
// The first three bytes compare as text, so that a NUL ends the comparison.
bool vrn_magic_equal(const char *a, const char *b);
