// A command record as the dispatcher reads it: fields by name, big-endian, packed by the sender
// without padding.
#pragma once

#include <array>
#include <cstdint>

#include "command/command.h"
#include "common/bytes.h"

namespace mc {

// A field of a record: where it begins, counted from the start of the record, and its name. How
// wide it is, its Value says.
template <class Value>
struct RecordField {
    std::uint32_t offset;
    const char* name;
};

using U8 = RecordField<std::uint8_t>;
using U16 = RecordField<std::uint16_t>;
using U32 = RecordField<std::uint32_t>;

struct CommandRecord {
    const std::uint8_t* bytes;  // MC_RECORD_SIZE of them

    std::uint32_t code() const { return load_be32(bytes); }
    std::uint32_t dump_length() const { return load_be32(bytes + 4); }

    [[gnu::always_inline]] std::uint8_t operator[](U8 field) const { return bytes[field.offset]; }
    [[gnu::always_inline]] std::uint16_t operator[](U16 field) const {
        return load_be16(bytes + field.offset);
    }
    [[gnu::always_inline]] std::uint32_t operator[](U32 field) const {
        return load_be32(bytes + field.offset);
    }
    std::int32_t as_signed(U32 field) const { return static_cast<std::int32_t>((*this)[field]); }
};

// ---- What a command is -------------------------------------------------------------------------

constexpr std::uint32_t kRecordHeader = 8;  // code and dump length

// A field without its type, for lists of them.
struct FieldPlace {
    std::uint32_t offset;
    std::uint32_t width;  // bytes
    const char* name;

    template <class Value>
    constexpr FieldPlace(RecordField<Value> field)
        : offset(field.offset), width(sizeof(Value)), name(field.name) {}
};

void fields_overlap_or_leave_the_record();  // defined nowhere: named by the compiler's complaint

// The fields of a record in their order. One that begins before its predecessor ends, or lies
// outside the payload, does not compile.
template <class... Values>
consteval std::array<FieldPlace, sizeof...(Values)> record_of(RecordField<Values>... fields) {
    const std::array<FieldPlace, sizeof...(Values)> places{FieldPlace(fields)...};
    std::uint32_t end = kRecordHeader;
    for (const FieldPlace& place : places) {
        if (place.offset < end) fields_overlap_or_leave_the_record();
        end = place.offset + place.width;
    }
    if (end > MC_RECORD_SIZE) fields_overlap_or_leave_the_record();
    return places;
}

struct NoFields {
    static constexpr std::array<FieldPlace, 0> fields{};
};

// What the console hears, under the error category, of a command whose status is not 0. The three
// forms are those of igmp_checked and its likes in common/diagnostics.h.
struct Failure {
    enum class Form : std::uint16_t { kSilent, kText, kLine, kWithStatus };
    Form form = Form::kSilent;
    const char* text = nullptr;
};

constexpr Failure fails(const char* text) { return {Failure::Form::kText, text}; }
constexpr Failure fails_line(const char* text) { return {Failure::Form::kLine, text}; }
constexpr Failure fails_with_status(const char* text) { return {Failure::Form::kWithStatus, text}; }

// A command: its code, the fields of its record, shared with others or its own, what is said when
// it fails, and a handler that answers with a status:
//
//     struct SetMode : Command<1> {
//         static constexpr U8 mode{8, "mode"};
//         static constexpr auto fields = record_of(mode);
//         static constexpr Failure failure = fails("\r\n[MC_DBG_ERR]: \n ERROR! ... Fail");
//         static std::int32_t run(CommandRecord record);
//     };
//
// This is the one place of a layout: the handler, the dispatcher, the tool that posts commands and
// its reference read it here.
template <std::uint32_t Code, class Fields = NoFields>
struct Command : Fields {
    static constexpr std::uint32_t code = Code;
    static constexpr Failure failure{};
};

}  // namespace mc
