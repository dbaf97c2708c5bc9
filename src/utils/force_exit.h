// Ends the process at once, without a core dump.
#pragma once

[[noreturn]] void vrn_force_exit();
