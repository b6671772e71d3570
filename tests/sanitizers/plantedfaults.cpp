// SPDX-License-Identifier: Apache-2.0
// Does on purpose what a sanitizer stops: plantedFaults beyond-a-buffer|after-deletion|beyond-an-integer
#include <cstdio>
#include <limits>
#include <memory>
#include <string_view>
#include <vector>

int main(int argc, char** argv)
{
    const std::string_view fault = argc > 1 ? argv[1] : "";
    volatile int result = 0;
    if (fault == "beyond-a-buffer") {
        const std::vector<int> values(static_cast<size_t>(argc), 1);
        result = values.data()[values.size()];
    } else if (fault == "after-deletion") {
        auto value = std::make_unique<int>(argc);
        const int* const kept = value.get();
        value.reset();
        result = *kept;
    } else if (fault == "beyond-an-integer") {
        volatile int most = std::numeric_limits<int>::max();
        result = most + argc;
    }
    std::printf("nothing stopped it: %d\n", result);
    return 0;
}
