// Options.h: the command lines of the benchmarks.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace bench {

// Calls `option(name, value)` for each argument after argv[0]; `value()`
// takes the next argument as that option's value and throws
// std::invalid_argument when there is none.
inline void ForEachOption(int argc, char** argv,
                          const std::function<void(const std::string&, const std::function<std::string()>&)>& option)
{
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        option(name, [&]() -> std::string {
            if (i + 1 >= argc)
                throw std::invalid_argument(name + " needs a value");
            return argv[++i];
        });
    }
}

// A whole number from `minimum` to 100000; std::invalid_argument otherwise.
inline int ParseCount(const std::string& option, const std::string& text, int minimum)
{
    std::size_t used = 0;
    int value = 0;
    try {
        value = std::stoi(text, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used != text.size() || text.empty() || value < minimum || value > 100000)
        throw std::invalid_argument(option + " needs a whole number of at least " + std::to_string(minimum));
    return value;
}

} // namespace bench
