"""Tells that the wheel holds compiled files, which serve every CPython from 3.9 on. All else is in pyproject.toml.

The files must have been built and laid out already: make_wheel does.
"""

import os

from setuptools import Distribution, setup


class Compiled(Distribution):
    def has_ext_modules(self) -> bool:
        return True


setup(distclass=Compiled,
      options={"bdist_wheel": {"py_limited_api": "cp39", "plat_name": os.environ["WHEEL_PLATFORM"]}})
