"""What is checked, and against what: the SDK, and the macOS build as CMake configures it here."""
import json
import pathlib
import re
import shlex
import subprocess

ARCHITECTURES = ("arm64", "x86_64")
DEPLOYMENT_TARGET = "13.3"
# Headers of libraries that lie in /usr/include, where those of Linux itself would be found in place of the SDK's.
LIBRARY_HEADERS = ("fmt", "nlohmann", "CLI", "gtest", "gmock")


class Unusable(Exception):
    """What was given can't be worked with; the message is a sentence for the user."""


class SDK:
    """A macOS SDK. Of two frameworks there are declarations of our own (Shim), for copies that lack them."""

    shim = pathlib.Path(__file__).resolve().parent / "Shim"

    def __init__(self, path):
        self.path = pathlib.Path(path).resolve()
        for part in ("usr/include/c++/v1", "System/Library/Frameworks"):
            if not (self.path / part).is_dir():
                raise Unusable(f"{path} is no macOS SDK: it has no {part}.")
        self.frameworks = self.path / "System/Library/Frameworks"

    def has(self, framework):
        return (self.frameworks / f"{framework}.framework" / "Headers").is_dir()

    def require(self, frameworks):
        for name in sorted(frameworks):
            if not self.has(name) and not (self.shim / f"{name}.framework").is_dir():
                raise Unusable(f"the SDK lacks the framework {name}.")


class Build:
    """The macOS build, configured in build/check-macos for one architecture; what differs for the other is replaced."""

    def __init__(self, root, sdk):
        self.root = root
        self.sdk = sdk
        self.frameworks = self._used_frameworks()
        sdk.require(self.frameworks)
        self.folder = root / "build" / "check-macos"
        self.folder.mkdir(parents=True, exist_ok=True)
        self._install_packages()
        self._gather_headers()
        self._configure()
        commands = json.loads((self.folder / "cmake" / "compile_commands.json").read_text())
        self.commands = {}  # one a source: where it is compiled twice, the first
        for entry in commands:
            self.commands.setdefault(pathlib.Path(entry["file"]), shlex.split(entry["command"]))

    def sources(self, only):
        """Those of the project, without what is generated."""
        own = [path for path in self.commands if path.is_relative_to(self.root) and self.folder not in path.parents]
        chosen = [path for path in own if only in str(path.relative_to(self.root))]
        if not chosen:
            raise Unusable(f"no source's path holds '{only}'.")
        return chosen

    def program_sources(self):
        """What Velto.app is linked of: no tests, no tools."""
        tools = ("Tests", "Tools", "Simulation")
        return [path for path in self.sources("") if path.relative_to(self.root).parts[0] not in tools]

    def generated_sources(self):
        """What Qt's meta-object compiler makes for the program."""
        return [path for path in self.commands if path.name == "mocs_compilation.cpp"]

    def sources_left_out(self):
        """Sources that only a Mac can need, and that are not built."""
        folders = [path for path in self.root.rglob("macOS") if path.is_dir() and "build" not in path.parts]
        files = [file for folder in folders for file in folder.rglob("*") if file.suffix in (".cpp", ".mm")]
        return [str(file.relative_to(self.root)) for file in sorted(files) if file not in self.commands]

    def command(self, source, architecture, library):
        """Its compilation as on a Mac, without the output and the file."""
        kept = []
        words = iter(self.commands[source])
        for word in words:
            if word in ("-o", "-c", "-arch", "-isysroot"):
                next(words)
            elif word == "-isystem":
                folder = next(words)
                kept += ["-isystem", folder] if folder != "/usr/include" else []  # where Linux' own headers are
            elif not re.match(r"--target=|-mmacosx-version-min=|-O\d|-g$|-fsanitize", word):
                kept.append(word)
        return kept + [f"--target={architecture}-apple-macos{DEPLOYMENT_TARGET}", "-isysroot", str(self.sdk.path),
                       "-nostdinc++", "-isystem", str(library), "-isystem", str(self.folder / "include"),
                       "-iframework", str(self.sdk.frameworks), "-iframework", str(self.sdk.shim)]

    def _install_packages(self):
        script = ". Tools/prepare.sh; install_packages $build_packages $test_packages $macos_check_packages"
        if subprocess.run(["bash", "-euo", "pipefail", "-c", script], cwd=self.root).returncode:
            raise Unusable("what the check needs is not installed.")

    def _gather_headers(self):
        include = self.folder / "include"
        include.mkdir(exist_ok=True)
        for name in LIBRARY_HEADERS:
            link = include / name
            if not link.is_symlink() and pathlib.Path("/usr/include", name).exists():
                link.symlink_to(f"/usr/include/{name}")

    def _configure(self):
        toolchain = self.folder / "toolchain.cmake"
        target = f"{ARCHITECTURES[0]}-apple-macos{DEPLOYMENT_TARGET}"
        compilers = "".join(f"set(CMAKE_{language}_COMPILER /usr/bin/{name})\nset(CMAKE_{language}_COMPILER_TARGET {target})\n"
                            for language, name in (("C", "clang-19"), ("CXX", "clang++-19"), ("OBJCXX", "clang++-19")))
        toolchain.write_text(
            f"set(CMAKE_SYSTEM_NAME Darwin)\nset(CMAKE_SYSTEM_PROCESSOR {ARCHITECTURES[0]})\n{compilers}"
            f"set(CMAKE_OSX_SYSROOT {self.sdk.path})\nset(CMAKE_OSX_ARCHITECTURES {ARCHITECTURES[0]})\n"
            "set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)\nset(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool-19)\n"
            "set(QT_HOST_PATH /usr)\n")
        log = self.folder / "cmake.log"
        multiarch = subprocess.run(["clang-19", "-print-multiarch"], capture_output=True, text=True).stdout.strip()
        steps = [["cmake", "-G", "Ninja", "-S", str(self.root), "-B", str(self.folder / "cmake"),
                  f"-DCMAKE_TOOLCHAIN_FILE={toolchain}", "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", "-DVELTO_TESTS=ON",
                  f"-DCMAKE_LIBRARY_ARCHITECTURE={multiarch or 'x86_64-linux-gnu'}"],
                 # The build's own step, without what it would build before.
                 *(["cmake", "-E", "cmake_autogen",
                    str(self.folder / "cmake/Velto/CMakeFiles" / f"{target}_autogen.dir/AutogenInfo.json"), "Debug"]
                   for target in ("velto_desktop", "velto_windows"))]
        with log.open("w") as output:
            for step in steps:
                if subprocess.run(step, stdout=output, stderr=subprocess.STDOUT).returncode:
                    raise Unusable(f"the macOS build could not be configured; all that was said is in {log}.")

    def _used_frameworks(self):
        """By what the sources import."""
        folders = ("Platform/macOS", "Velto/macOS", "VeltoCore/CoreAudio")
        texts = [file.read_text() for folder in folders for file in (self.root / folder).glob("*.*") if file.is_file()]
        return set(re.findall(r"^#\s*(?:import|include) <([A-Z]\w+)/\1\.h>", "\n".join(texts), re.MULTILINE))
