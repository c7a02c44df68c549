"""The rows of which bench/run makes one table."""


def head():
    print(f"{'figure':46}{'ours':>10}{'':6}{'peer':>10}{'ratio':>8}")


def row(figure, ours, unit, peer=None, name=""):
    """The peer is another program's figure, or the most that ours may be."""
    text = f"{figure:46}{ours:>10.4g} {unit:5}"
    if peer is not None:
        text += f"{peer:>10.4g}{ours / peer:>8.2f}  {name}"
    print(text.rstrip(), flush=True)
