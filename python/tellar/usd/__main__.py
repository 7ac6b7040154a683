"""Runs the bridge from a shell: python -m tellar.usd import|export IN OUT [options]."""

from __future__ import annotations

import argparse
import sys
from collections.abc import Sequence

from .. import Error, open


def _variants(texts: Sequence[str]) -> dict[str, dict[str, str]]:
    """The choices of "PRIM:SET=NAME" texts, by prim and set."""
    variants: dict[str, dict[str, str]] = {}
    for text in texts:
        prim, colon, choice = text.partition(":")
        name, equals, variant = choice.partition("=")
        if not (prim.startswith("/") and colon and name and equals):
            raise ValueError(f'--variant: "{text}" is not of the form PRIM:SET=NAME')
        variants.setdefault(prim, {})[name] = variant
    return variants


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(prog="tellar usd", description="Exchange scenes with USD.")
    parser.add_argument("direction", choices=("import", "export"))
    parser.add_argument("input", metavar="IN")
    parser.add_argument("output", metavar="OUT")
    parser.add_argument("--variant", action="append", default=[], metavar="PRIM:SET=NAME")
    parser.add_argument("--population-mask", action="append", default=[], metavar="PATH")
    parser.add_argument("--purpose", action="append", default=[], metavar="NAME")
    parser.add_argument("--load", choices=("all", "none"), default="all")
    parser.add_argument("--at", default=None, metavar="LOCATION")
    parser.add_argument("--frame", type=float, default=0.0)
    parser.add_argument("--fps", type=float, default=None)
    parser.add_argument("--jobs", type=int, default=None, metavar="N")
    parser.add_argument("--frames", default=None, metavar="A:B")
    return parser


def _import(options: argparse.Namespace) -> None:
    from . import import_usd

    result = import_usd(
        options.input,
        location=options.at,
        variants=_variants(options.variant),
        population_mask=options.population_mask or None,
        purposes=tuple(options.purpose) or ("default", "render"),
        load=options.load,
        frame=options.frame,
        frames_per_second=options.fps,
        jobs=options.jobs,
    )
    result.write(options.output)
    _report(result.summary)


def _frames(text: str | None) -> tuple[float, float] | None:
    """The first and the last frame of "A:B" or "A"."""
    if text is None:
        return None
    first, _, last = text.partition(":")
    try:
        return float(first), float(last or first)
    except ValueError:
        raise ValueError(f'--frames: "{text}" is not of the form A:B') from None


def _export(options: argparse.Namespace) -> None:
    from . import export_usd

    summary = export_usd(
        open(options.input),
        options.output,
        at=options.at or "/root",
        frames=_frames(options.frames),
    )
    _report(summary)


def _report(summary: object) -> None:
    for line in str(summary).splitlines():
        print(f"info: {line}", file=sys.stderr)


def main(arguments: Sequence[str] | None = None) -> int:
    """Runs one command. Returns the exit status: 0, or 2 with a message on standard error."""
    options = _parser().parse_args(arguments)
    try:
        _import(options) if options.direction == "import" else _export(options)
    except (Error, ImportError, OSError, ValueError) as error:
        print(f"tellar: {error}", file=sys.stderr)
        return 2
    except KeyboardInterrupt:
        print("tellar: stopped", file=sys.stderr)
        return 130
    return 0


if __name__ == "__main__":
    sys.exit(main())
