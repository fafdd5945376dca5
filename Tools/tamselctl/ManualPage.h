#pragma once

#include <string>

/// The manual page in section 1, as source for man(1).
std::string manualPage();
