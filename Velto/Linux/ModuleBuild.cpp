#include "Velto/Linux/ModuleBuild.h"

#include <elf.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace velto {

namespace {

const std::map<std::string, std::string> builds{
#include "ModuleBuilds.inc"
};
using namespace std::string_view_literals;

constexpr std::string_view noteOwner = "GNU\0"sv;
constexpr std::size_t largestNotes = 65536;

template <class Value>
bool readAt(std::ifstream& stream, std::size_t place, Value& value) {
    stream.seekg(static_cast<std::streamoff>(place));
    return static_cast<bool>(stream.read(reinterpret_cast<char*>(&value), sizeof value));
}

std::string hexadecimal(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += digits[value >> 4U];
        text += digits[value & 15U];
    }
    return text;
}

/// Of the notes of a segment.
std::string buildAmong(std::string_view notes) {
    const auto padded = [](std::size_t size) { return (size + 3) / 4 * 4; };
    while (notes.size() >= sizeof(Elf64_Nhdr)) {
        Elf64_Nhdr header{};
        std::memcpy(&header, notes.data(), sizeof header);
        notes.remove_prefix(sizeof header);
        const std::size_t name = padded(header.n_namesz);
        if (notes.size() < name || notes.size() - name < header.n_descsz) return {};
        if (header.n_type == NT_GNU_BUILD_ID && notes.substr(0, header.n_namesz) == noteOwner)
            return hexadecimal(notes.substr(name, header.n_descsz));
        notes.remove_prefix(std::min(notes.size(), name + padded(header.n_descsz)));
    }
    return {};
}

} // namespace

std::string moduleBuild(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    Elf64_Ehdr header{};
    if (!readAt(stream, 0, header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) return {};
    for (std::size_t index = 0; index < header.e_phnum; ++index) {
        Elf64_Phdr segment{};
        if (!readAt(stream, header.e_phoff + index * sizeof segment, segment)) return {};
        if (segment.p_type != PT_NOTE || segment.p_filesz > largestNotes) continue;
        std::string notes(segment.p_filesz, '\0');
        stream.seekg(static_cast<std::streamoff>(segment.p_offset));
        if (!stream.read(notes.data(), static_cast<std::streamsize>(notes.size()))) return {};
        if (std::string build = buildAmong(notes); !build.empty()) return build;
    }
    return {};
}

void requireBuild(const std::filesystem::path& file, const std::string& module) {
    std::error_code error;
    if (!std::filesystem::exists(file, error))
        throw std::runtime_error("A part of Velto is missing: " + module + ". Install Velto again.");
    if (moduleBuild(file) != builds.at(module))
        throw std::runtime_error("Velto was changed while it ran. Quit it and start it again.");
}

} // namespace velto
