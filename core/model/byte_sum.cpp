#include "core/model/byte_sum.h"

#include <cstdio>
#include <cstdlib>

namespace brindle {

void abortOnOverflow() {
    std::fputs("brindle: a sum of sizes does not fit 64 bits; no number shown from it could be true\n",
               stderr);
    std::abort();
}

}  // namespace brindle
