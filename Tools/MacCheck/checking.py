"""Type-checking: each source for both architectures, with both C++ libraries."""
import concurrent.futures
import os
import pathlib
import subprocess

from configuration import ARCHITECTURES

LLVM_LIBRARY = pathlib.Path("/usr/lib/llvm-19/include/c++/v1")
DRIVER_ONLY = ["-Wno-unused-command-line-argument"]


def libraries(sdk):
    """Where the headers of each C++ library are, by its name."""
    return {"the SDK's library": sdk.path / "usr/include/c++/v1", "LLVM's library": LLVM_LIBRARY}


def object_of(build, source, architecture):
    """Where check_sources() leaves the object: from the SDK's own library."""
    name = str(source.relative_to(build.root)).replace("/", "+") + ".o"
    return build.folder / architecture / name


def check_sources(build, sources, headers):
    """Prints a line a source. Answers a sentence a failure, and leaves objects of what passes."""
    failures = []
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = [(source, pool.submit(_check, build, source, headers)) for source in sources]
        for source, result in results:
            found = result.result()
            print(f"{'FAILED' if found else 'ok':7}{source.relative_to(build.root)}", flush=True)
            failures += found
    return failures


def _check(build, source, headers):
    failures = []
    for architecture in ARCHITECTURES:
        for name, folder in headers.items():
            keeps = name == next(iter(headers))
            said = compile_source(build, source, architecture, folder, keeps)
            if said:
                failures.append(f"{source.relative_to(build.root)}, {architecture}, {name}:\n{said}")
    return failures


def compile_source(build, source, architecture, headers, keeps_object):
    """Answers what the compiler says; empty when it says nothing."""
    output = object_of(build, source, architecture)
    output.parent.mkdir(parents=True, exist_ok=True)
    purpose = ["-O0", "-c", "-o", str(output)] if keeps_object else ["-fsyntax-only"]
    result = subprocess.run(build.command(source, architecture, headers) + DRIVER_ONLY + purpose + [str(source)],
                            capture_output=True, text=True)
    return result.stderr[:4000] if result.returncode else ""
