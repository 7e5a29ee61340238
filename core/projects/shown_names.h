// Names as a sentence holds them.
#pragma once

#include <string>
#include <vector>

namespace brindle {

// "origin, backup": each as a terminal may show it, in their order.
std::string shownNames(const std::vector<std::string>& names);

}  // namespace brindle
