// JSONWriting: plain writing of stored records as JSON.
//
// For the core's own .cpp files: no other header includes it. A type is written by a function in its
// namespace:
//
//     static void writeJSON(json::Writer& writer, const Pair& pair) {
//         writer.object([&] {
//             writer.field("name", pair.name);
//             writer.field("volume", pair.volume);
//         });
//     }
#pragma once

#include "VeltoCore/Foundation/Data.h"
#include "VeltoCore/Foundation/Date.h"
#include "VeltoCore/Foundation/UUID.h"

#include <concepts>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto::json {

/// Builds JSON text. Numbers get the shortest text that reads back as the same number of their type; text
/// that is not UTF-8 gets replacement characters.
class Writer {
  public:
    void boolean(bool value);
    void integer(std::uint32_t value);
    /// A number that is not finite has no JSON form: the whole text fails.
    void number(float value);
    void number(double value);
    void text(std::string_view value);
    void object(std::invocable auto fields) {
        open('{');
        fields();
        close('}');
    }
    void array(std::invocable auto elements) {
        open('[');
        elements();
        close(']');
    }
    /// A field of the object that is being written.
    template <class T>
    void field(std::string_view key, const T& value) {
        text(key);
        text_ += ':';
        writeJSON(*this, value);
    }
    /// An absent value leaves the key out.
    template <class T>
    void field(std::string_view key, const std::optional<T>& value) {
        if (value) field(key, *value);
    }

    /// None when something had no JSON form.
    std::optional<Data> finish() const;

  private:
    void separate();
    void open(char bracket);
    void close(char bracket);
    template <class Number>
    void writeNumber(Number value);

    std::string text_;
    bool isComplete_ = true;
};

inline void writeJSON(Writer& writer, std::same_as<bool> auto value) { writer.boolean(value); }
inline void writeJSON(Writer& writer, std::uint32_t value) { writer.integer(value); }
inline void writeJSON(Writer& writer, float value) { writer.number(value); }
inline void writeJSON(Writer& writer, double value) { writer.number(value); }
inline void writeJSON(Writer& writer, const std::string& value) { writer.text(value); }
inline void writeJSON(Writer& writer, Date value) { writer.number(value.secondsSinceReferenceDate); }
inline void writeJSON(Writer& writer, const UUID& value) { writer.text(value.string()); }

template <class T>
void writeJSON(Writer& writer, const std::vector<T>& values) {
    writer.array([&] {
        for (const T& value : values)
            writeJSON(writer, value);
    });
}

template <class T>
void writeJSON(Writer& writer, const std::map<std::string, T>& values) {
    writer.object([&] {
        for (const auto& [key, value] : values)
            writer.field(key, value);
    });
}

/// The value's stored form; none when something in it has no JSON form.
template <class T>
std::optional<Data> encode(const T& value) {
    Writer writer;
    writeJSON(writer, value);
    return writer.finish();
}

} // namespace velto::json
