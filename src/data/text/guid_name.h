// What the name of a field or counter tells of GUIDs. Deliberate: the two rules differ, and each
// form of output has its own.
#pragma once

// True when `name` holds "guid", in any mix of case, between characters that aren't letters.
bool vrn_name_is_guid_word(const char *name);
// True when `name` contains "guid" or "GUID" as a plain substring; false for null.
bool vrn_name_contains_guid(const char *name);
