// "--name value" arguments of the probes. They are called by bench/live, so there is no help text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

class Arguments {
 public:
    Arguments(int count, char** words) {
        if (count % 2 == 0) throw std::invalid_argument("an argument without its value");
        for (int i = 1; i < count; i += 2) {
            const std::string word = words[i];
            if (!word.starts_with("--")) throw std::invalid_argument("not an option: " + word);
            values_[word.substr(2)].emplace_back(words[i + 1]);
        }
    }

    [[nodiscard]] const std::vector<std::string>& all(const std::string& name) const {
        const auto found = values_.find(name);
        if (found == values_.end()) throw std::invalid_argument("missing: --" + name);
        return found->second;
    }

    [[nodiscard]] const std::string& text(const std::string& name) const {
        return all(name).back();
    }

    [[nodiscard]] std::int64_t number(const std::string& name) const {
        std::size_t used = 0;
        const std::int64_t value = std::stoll(text(name), &used);
        if (used != text(name).size()) throw std::invalid_argument("not a number: --" + name);
        return value;
    }

 private:
    std::map<std::string, std::vector<std::string>> values_;
};

// What main() does: a problem is one line and status 1.
template <class Run>
int run_program(const char* name, int count, char** words, const Run& run) {
    try {
        run(Arguments(count, words));
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "%s: %s\n", name, problem.what());
        return 1;
    }
    return 0;
}

}  // namespace bench
