"""Work that takes its time, in pieces, so that Blender stays awake. Needs no Blender."""

import threading
import time


class Call(threading.Thread):
    """A call of the library that may wait for the renderer, in a thread of its own.

    Such a wait cannot be broken off. What must not happen before it is over is left to `at_end`.
    """

    def __init__(self, function):
        super().__init__(daemon=True)
        self._function = function
        self._lock = threading.Lock()
        self._over = False
        self._endings = []
        self._result = None
        self._error = None

    def run(self):
        try:
            self._result = self._function()
        except BaseException as error:
            self._error = error
        with self._lock:
            self._over = True
            endings = list(self._endings)
        for ending in endings:
            ending()

    def is_over(self):
        return self._over

    def at_end(self, ending):
        """Calls a function when this call is over, or now if it is."""
        with self._lock:
            if not self._over:
                self._endings.append(ending)
                return
        ending()

    def result(self):
        self.join()
        if self._error is not None:
            raise self._error
        return self._result


class Progress:
    """What a step of a job tells: how much is done, from 0 to 1, and what goes on."""

    __slots__ = ("fraction", "text", "call")

    def __init__(self, fraction, text, call=None):
        self.fraction = fraction
        self.text = text
        self.call = call  # to be waited for


class Job:
    """A generator of Progress, which is run in pieces or at once. Its return value is the result."""

    def __init__(self, steps):
        self._steps = steps
        self._call = None
        self.fraction = 0.0
        self.text = ""
        self.result = None
        self.is_over = False

    def run(self):
        """All of it, with the caller waiting."""
        try:
            while not self.advance(1.0):
                if self._call is not None:
                    self._call.join()
        except BaseException:
            self.cancel()
            raise
        return self.result

    def advance(self, seconds):
        """Works for about so long. Returns whether it is over; an error of a step is raised."""
        end = time.monotonic() + seconds
        while not self.is_over:
            if self._call is not None:
                if not self._call.is_over():
                    return False
                self._call = None
            try:
                step = next(self._steps)
            except StopIteration as stop:
                self.result = stop.value
                self.is_over = True
                return True
            except BaseException:
                self.is_over = True
                raise
            self.fraction, self.text, self._call = step.fraction, step.text, step.call
            if time.monotonic() >= end:
                return False
        return True

    def cancel(self):
        """Ends it where it stands; what it holds is let go of."""
        self.is_over = True
        self._steps.close()
