#include "Platform/Linux/XdgAutostart.h"

#include "Platform/Linux/FileReplacement.h"
#include "Platform/Linux/FileUserDefaults.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velto {

namespace {

/// At login nothing is opened, whoever runs already.
constexpr std::string_view hidden = " --hidden";
constexpr std::string_view deletedMark = " (deleted)"; // the kernel's, on a program replaced while it runs

bool isControl(char character) noexcept {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

/// The keys of the entry's main group.
std::map<std::string, std::string> entryKeys(const std::filesystem::path& file) {
    std::map<std::string, std::string> keys;
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) return keys; // a pipe would hold us up
    std::ifstream stream(file);
    bool isMainGroup = false;
    for (std::string line; std::getline(stream, line);) {
        const std::string_view text = trimmed(line);
        if (text.starts_with('[')) {
            isMainGroup = text == "[Desktop Entry]";
            continue;
        }
        const std::size_t equals = text.find('=');
        if (!isMainGroup || text.starts_with('#') || equals == std::string_view::npos) continue;
        keys.emplace(trimmed(text.substr(0, equals)), trimmed(text.substr(equals + 1)));
    }
    return keys;
}

/// The path as the value of an entry's TryExec key, which is no more than a text.
std::string tryExecValue(const std::filesystem::path& program) {
    std::string value;
    for (const char character : program.native()) {
        if (character == '\\') value += '\\';
        value += character;
    }
    return value;
}

} // namespace

XdgAutostart::XdgAutostart(std::filesystem::path program, std::filesystem::path file)
    : program_(std::move(program)), file_(std::move(file)) {}

std::filesystem::path XdgAutostart::runningProgram() {
    std::error_code error;
    std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::string& text = program.native();
    if (!text.ends_with(deletedMark) || std::filesystem::exists(program, error)) return program;
    return text.substr(0, text.size() - deletedMark.size()); // the new version
}

std::filesystem::path XdgAutostart::standardFile() {
    const std::filesystem::path config = FileUserDefaults::standardFile().parent_path().parent_path();
    return config / "autostart" / "com.corlent.velto.desktop";
}

std::optional<std::string> XdgAutostart::execValue(const std::filesystem::path& program) {
    const std::string& path = program.native();
    if (!program.is_absolute() || path.contains('=') || std::ranges::any_of(path, isControl))
        return std::nullopt;
    std::string value = "\"";
    for (const char character : path) {
        // A backslash quotes within the argument, and once more within the text that holds it.
        switch (character) {
        case '%':
            value += "%%";
            break;
        case '\\':
            value += R"(\\\\)";
            break;
        case '"':
        case '`':
        case '$':
            value += R"(\\)";
            [[fallthrough]];
        default:
            value += character;
        }
    }
    return value + '"';
}

bool XdgAutostart::isAvailable() const noexcept {
    return program_.parent_path().filename() == "bin" && access(program_.c_str(), X_OK) == 0;
}

LoginItemService::Status XdgAutostart::status() const noexcept {
    const auto keys = entryKeys(file_);
    const auto is = [&keys](const char* key, const std::string& value) {
        const auto found = keys.find(key);
        return found != keys.end() && found->second == value;
    };
    const auto exec = execValue(program_);
    const bool isOff = is("Hidden", "true") || is("X-GNOME-Autostart-enabled", "false");
    return exec && is("Exec", *exec + std::string(hidden)) && !isOff ? Status::enabled
                                                                     : Status::notRegistered;
}

void XdgAutostart::registerItem() {
    const auto exec = execValue(program_);
    if (!isAvailable() || !exec)
        throw std::runtime_error("Velto can't be started at login from " + program_.string() + ".");
    std::error_code error;
    std::filesystem::create_directories(file_.parent_path(), error); // its failure is the write's
    const std::string entry = "[Desktop Entry]\n"
                              "Type=Application\n"
                              "Name=Velto\n"
                              "Comment=Plays the computer's sound on two outputs at once\n"
                              "TryExec=" +
                              tryExecValue(program_) + "\nExec=" + *exec + std::string(hidden) +
                              "\n"
                              "Terminal=false\n"
                              "X-GNOME-Autostart-enabled=true\n";
    if (const auto failure = FileReplacement::write(file_, entry))
        throw std::runtime_error("The autostart entry can't be written: " + *failure);
}

void XdgAutostart::unregisterItem() {
    std::error_code error;
    std::filesystem::remove(file_, error); // one that isn't there is no failure
    if (error) throw std::runtime_error("The autostart entry can't be removed: " + error.message());
}

} // namespace velto
