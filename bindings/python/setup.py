"""Builds the Python module `velquorin` on the Velquorin engine.

The engine is built by CMake from the repository this folder lives in (or
the one named by VELQUORIN_SOURCE_DIR), with the project's own flags (no
fused multiply-adds, no fast-math), into one archive that is linked into the
extension; Python's compiler flags apply to src/velquorin_module.cpp alone.
Needs CMake, a C++20 compiler, LAPACK and BLAS, and pybind11 (Debian's
python3-pybind11). Install offline with Debian's setuptools:

    /usr/bin/python3 -m pip install --no-index --no-build-isolation ./bindings/python

Environment: VELQUORIN_SOURCE_DIR (the repository; default two levels up),
VELQUORIN_ENGINE_BUILD (the engine's CMake build folder; default
build/engine here, kept between installs), VELQUORIN_JOBS (default 2).
"""

import os
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

HERE = os.path.dirname(os.path.abspath(__file__))


def source_dir():
    root = os.environ.get("VELQUORIN_SOURCE_DIR") or os.path.join(HERE, "..", "..")
    root = os.path.abspath(root)
    if not os.path.isfile(os.path.join(root, "src", "api", "host.h")):
        sys.exit(
            "velquorin: the Velquorin repository is not at %s; install from its place "
            "in the repository (./bindings/python) or name it in VELQUORIN_SOURCE_DIR" % root
        )
    return root


class BuildWithEngine(build_ext):
    """Builds the engine archive with CMake, then the extension against it."""

    def run(self):
        root = source_dir()
        build = os.path.abspath(
            os.environ.get("VELQUORIN_ENGINE_BUILD") or os.path.join(HERE, "build", "engine")
        )
        jobs = os.environ.get("VELQUORIN_JOBS", "2")
        configure = [
            "cmake", "-S", root, "-B", build,
            "-DVELQUORIN_TESTS=OFF", "-DVELQUORIN_BENCH=OFF",
            "-DCMAKE_POSITION_INDEPENDENT_CODE=ON", "-DCMAKE_BUILD_TYPE=Release",
        ]
        print("velquorin: building the engine of %s in %s" % (root, build))
        subprocess.check_call(configure, stdout=subprocess.DEVNULL)
        subprocess.check_call(
            ["cmake", "--build", build, "--target", "velquorin_engine", "-j", jobs]
        )
        # velquorin_engine.link: the archive, then the libraries it needs.
        with open(os.path.join(build, "velquorin_engine.link")) as link_file:
            lines = [line.strip() for line in link_file if line.strip()]
        for extension in self.extensions:
            extension.include_dirs.append(os.path.join(root, "src"))
            extension.extra_objects.append(lines[0])
            # A rebuilt engine must relink the module, though its own source
            # is unchanged.
            extension.depends.append(lines[0])
            extension.extra_link_args.extend(lines[1:])
        super().run()


def pybind11_include():
    import pybind11

    return pybind11.get_include()


setup(
    name="velquorin",
    version="2.0.0",
    description="Exploratory factor analysis of test items on the Velquorin engine",
    packages=["velquorin"],
    ext_modules=[
        Extension(
            "velquorin._core",
            sources=["src/velquorin_module.cpp"],
            include_dirs=[pybind11_include()],
            extra_compile_args=["-std=c++17", "-fvisibility=hidden"],
            language="c++",
        )
    ],
    cmdclass={"build_ext": BuildWithEngine},
    python_requires=">=3.9",
    zip_safe=False,
)
