// The fields of the record that a line of words stands for.
#pragma once

#include <cstdint>
#include <string>

#include "command/record.h"
#include "tools/command_line.h"

namespace config {

class RecordFields {
 public:
    // The line is a command. Throws commands::UsageError.
    explicit RecordFields(const std::string& line)
        : record_(commands::encode(commands::split(line))) {}

    template <class Value>
    [[nodiscard]] Value operator[](mc::RecordField<Value> field) const {
        return mc::CommandRecord{record_.bytes.data()}[field];
    }

 private:
    commands::Record record_;
};

}  // namespace config
