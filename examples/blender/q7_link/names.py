"""Names as the library and the renderer take them."""

import re

_CONTROL = re.compile("[\0-\x1f\x7f]")


def clean(text):
    """The text on one line: control characters become blanks."""
    return _CONTROL.sub(" ", text)


class UniqueNames:
    """Hands out names no two of which are the same after `old` has become `new`.

    The library makes that change itself, and what then has one name becomes one object.
    """

    def __init__(self, old, new):
        self._old = old
        self._new = new
        self._taken = set()
        self._last = {}

    def claim(self, wanted, nameless):
        """The wanted name, or that name with a number behind it. Never empty."""
        name = clean(wanted) or nameless
        if self._take(name):
            return name
        key = name.replace(self._old, self._new)
        number = self._last.get(key, 1)
        while True:
            number += 1
            candidate = f"{name} ({number})"
            if self._take(candidate):
                self._last[key] = number
                return candidate

    def release(self, name):
        """Makes a name free again."""
        key = name.replace(self._old, self._new)
        self._taken.discard(key)

    def _take(self, name):
        key = name.replace(self._old, self._new)
        if key in self._taken:
            return False
        self._taken.add(key)
        return True
