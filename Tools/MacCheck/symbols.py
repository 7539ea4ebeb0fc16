"""What objects define: all that their headers declare, and all that the program needs of its own."""
import concurrent.futures
import functools
import json
import os
import re
import subprocess

from checking import compile_source, libraries, object_of
from configuration import ARCHITECTURES, DEPLOYMENT_TARGET, Unusable

FUNCTIONS = ("FunctionDecl", "CXXMethodDecl", "CXXConstructorDecl", "CXXDestructorDecl", "CXXConversionDecl")
TEMPLATES = ("ClassTemplateDecl", "FunctionTemplateDecl", "ClassTemplatePartialSpecializationDecl")


def check_declarations(build, sources):
    """Answers a sentence for each function that a header declares and no object defines, for one architecture or both."""
    headers = sorted({source.with_suffix(".h") for source in sources if source.with_suffix(".h").exists()})
    defined = {architecture: _defined(build, architecture) for architecture in ARCHITECTURES}
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        declarations = zip(headers, pool.map(lambda header: _declared(build, header), headers))
        return [f"{header.relative_to(build.root)} declares {name}, which is not defined ({architecture})."
                for header, declared in declarations for symbol, name in declared.items()
                for architecture in ARCHITECTURES if not _variants(symbol) & defined[architecture]]


def _defined(build, architecture):
    """What all objects define together: a platform's sources define what headers of all platforms declare."""
    files = [object_of(build, source, architecture) for source in build.sources("")]
    files += _generated_objects(build, architecture)
    return {symbol for file in files if file.exists() for symbol in _symbols(file)}


@functools.cache
def _generated_objects(build, architecture):
    """Of Qt's meta-object compiler: they define what a Q_OBJECT declares."""
    objects = []
    for source in build.generated_sources():
        said = compile_source(build, source, architecture, next(iter(libraries(build.sdk).values())), True)
        if said:
            raise Unusable(f"{source} doesn't compile:\n{said}")
        objects.append(object_of(build, source, architecture))
    return objects


def _variants(symbol):
    """A constructor of an abstract class exists only as that of a base."""
    return {symbol, re.sub(r"C1E", "C2E", symbol)}


def _declared(build, header):
    """The functions that the header declares and does not define: their symbols, and their names."""
    source = next(source for source in build.commands if source.with_suffix(".h") == header)
    command = build.command(source, ARCHITECTURES[0], next(iter(libraries(build.sdk).values())))
    command = [word for word in command if word not in ("-x", "objective-c++", "-fobjc-arc")]
    result = subprocess.run(command + ["-w", "-x", "c++-header", "-fsyntax-only", "-Xclang", "-ast-dump=json", "-Xclang",
                                       "-ast-dump-filter=velto::", str(header)], capture_output=True, text=True)
    if result.returncode:
        raise Unusable(f"{header} can't be read as plain C++:\n{result.stderr[:2000]}")
    declared = {}
    state = {"file": ""}
    for node in _documents(result.stdout):
        _collect(node, state, str(header), declared)
    return declared


def _documents(text):
    decoder = json.JSONDecoder()
    place = 0
    while (place := text.find("{", place)) >= 0:
        node, place = decoder.raw_decode(text, place)
        yield node


def _collect(node, state, header, declared):
    for location in (node.get("loc", {}), *(node.get("range", {}).get(end, {}) for end in ("begin", "end"))):
        # Only a location in another file than the one before says which.
        state["file"] = location.get("expansionLoc", location).get("file", state["file"])
        if location is node.get("loc"):
            here = state["file"]
    kind = node.get("kind", "")
    if kind in FUNCTIONS and here == header and _must_be_defined(node):
        declared[node["mangledName"]] = node.get("name", "")
    for inner in node.get("inner", []) if kind not in TEMPLATES else []:
        if isinstance(inner, dict) and inner:
            _collect(inner, state, header, declared)


def _must_be_defined(node):
    marks = ("isImplicit", "pure", "explicitlyDefaulted", "explicitlyDeleted", "inline", "constexpr")
    has_body = any(inner.get("kind") == "CompoundStmt" for inner in node.get("inner", []))
    return "mangledName" in node and not has_body and not any(node.get(mark) for mark in marks)


def check_links(build):
    """Links the program for both architectures as far as there are stubs. Answers a sentence for each symbol missing."""
    failures = []
    for architecture in ARCHITECTURES:
        objects = [object_of(build, source, architecture) for source in build.program_sources()]
        failures += _link(build, architecture, objects + _generated_objects(build, architecture))
    return failures


def _link(build, architecture, objects):
    program = build.folder / architecture / "Velto"
    stubs = [f"-l{name}" for name in ("objc", "System", "c++") if (build.sdk.path / f"usr/lib/lib{name}.tbd").exists()]
    frameworks = [word for name in sorted(build.frameworks) if build.sdk.has(name) for word in ("-framework", name)]
    result = subprocess.run(
        ["ld64.lld-19", "-arch", architecture, "-platform_version", "macos", DEPLOYMENT_TARGET, DEPLOYMENT_TARGET,
         "-syslibroot", str(build.sdk.path), "-F", str(build.sdk.frameworks), "-L", str(build.sdk.path / "usr/lib"),
         "-undefined", "dynamic_lookup", "-o", str(program), *map(str, objects), *stubs, *frameworks],
        capture_output=True, text=True)
    if result.returncode:
        return [f"Velto could not be linked ({architecture}):\n{result.stderr[:4000]}"]
    left = _unresolved(program)
    own = [symbol for symbol in left if "velto" in symbol]
    classes = [symbol for symbol in left if symbol.startswith("_OBJC_CLASS_") and not _is_shimmed(build, symbol)]
    print(f"linked  Velto ({architecture}); {len(left)} symbols are of libraries that the SDK has no stubs of")
    return [f"{symbol} is defined nowhere ({architecture})." for symbol in own + classes]


def _is_shimmed(build, symbol):
    name = symbol.removeprefix("_OBJC_CLASS_$_")
    return any(f"@interface {name} " in header.read_text() for header in build.sdk.shim.rglob("*.h")
               if not build.sdk.has(header.parent.parent.stem))


def _unresolved(program):
    """What is left to be looked up when the program starts, in no library that was linked."""
    result = subprocess.run(["llvm-nm-19", "-m", "--undefined-only", str(program)], capture_output=True, text=True)
    return sorted(set(re.findall(r"external (\S+) \(dynamically looked up\)", result.stdout)))


def _symbols(file):
    result = subprocess.run(["llvm-nm-19", "--just-symbol-name", "--defined-only", str(file)], capture_output=True,
                            text=True)
    return result.stdout.split()
