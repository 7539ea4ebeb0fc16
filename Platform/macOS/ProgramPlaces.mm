#import "Platform/macOS/ProgramPlaces.h"

#import "Platform/macOS/FoundationText.h"

#import <Foundation/Foundation.h>

#include <mach-o/dyld.h>

#include <cstdint>
#include <string>

namespace velto {

std::filesystem::path ProgramPlaces::calledProgram() {
    std::uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size); // tells the size
    std::string path(size, '\0');
    _NSGetExecutablePath(path.data(), &size);
    return path.c_str();
}

std::filesystem::path ProgramPlaces::lockFile() {
    @autoreleasepool {
        NSString* folder =
            NSSearchPathForDirectoriesInDomains(NSApplicationSupportDirectory, NSUserDomainMask, YES)
                .firstObject;
        return std::filesystem::path(textOf(folder)) / "Velto" / "com.corlent.velto.lock";
    }
}

} // namespace velto
