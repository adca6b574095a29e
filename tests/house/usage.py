"""The arguments of the scripts here."""
import sys


def arguments(least, most=None):
    """Those that the script was given. With fewer or more than it takes it ends, with 2, and says its usage."""
    given = sys.argv[1:]
    if least <= len(given) <= (least if most is None else most):
        return given
    document = sys.modules["__main__"].__doc__
    print(document[document.index("Usage:"):].strip(), file=sys.stderr)
    sys.exit(2)
