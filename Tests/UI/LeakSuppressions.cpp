// What LeakSanitizer finds in libraries that keep things for the life of the process: fonts, glyphs, types.

extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n"
           "leak:libQt6Gui.so\n"
           "leak:libQt6Qml.so\n"
           "leak:libQt6Quick.so\n"
           "leak:libQt6XcbQpa.so\n";
}
