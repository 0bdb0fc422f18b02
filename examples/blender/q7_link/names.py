"""Names as the library and the renderer take them."""

import re

_CONTROL = re.compile("[\0-\x1f\x7f]")


def clean(text):
    """The text on one line: control characters become blanks."""
    return _CONTROL.sub(" ", text)


def distinct(wanted, old="/", new="@"):
    """Names no two of which are the same after `old` has become `new`, for ids with the names that they want.

    Of several ids that want one name the least gets the name, the others get it with a number, in their order: the
    names depend on what there is, and not on the order in which it was found.
    """
    claims = {}
    for id, name in wanted.items():
        claims.setdefault(name.replace(old, new), []).append(id)
    names = dict(wanted)
    for key, ids in claims.items():
        number = 1
        for id in sorted(ids)[1:] if len(ids) > 1 else ():
            number += 1
            while f"{key} ({number})" in claims:
                number += 1
            names[id] = f"{wanted[id]} ({number})"
    return names


class UniqueNames:
    """Hands out names no two of which are the same after `old` has become `new`.

    The library makes that change itself, and what then has one name becomes one object.
    """

    def __init__(self, old, new):
        self._old = old
        self._new = new
        self._taken = {}  # the names, and of each the name that was wanted
        self._last = {}

    def claim(self, wanted, nameless):
        """The wanted name, or that name with a number behind it. Never empty."""
        name = clean(wanted) or nameless
        key = name.replace(self._old, self._new)
        if key not in self._taken:
            self._taken[key] = key
            return name
        number = self._last.get(key, 1) + 1
        while f"{key} ({number})" in self._taken:
            number += 1
        self._last[key] = number
        self._taken[f"{key} ({number})"] = key
        return f"{name} ({number})"

    def release(self, name):
        """Makes a name free again: the next who wants it gets the same number, or a lower one."""
        wanted = self._taken.pop(name.replace(self._old, self._new), None)
        self._last.pop(wanted, None)
