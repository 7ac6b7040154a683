"""Scenes from and to USD. Needs the package usd-core, which ``pip install 'tellar[usd]'`` brings.

    result = tellar.usd.import_usd("shot.usda")
    result.write("shot.oxop")
    print(result.summary)
    tellar.usd.export_usd(tellar.open("shot.oxop"), "shot.usdz")
"""

from __future__ import annotations

import importlib
from typing import TYPE_CHECKING, Any

if TYPE_CHECKING:
    from .exporter import export_usd
    from .importer import ImportResult, import_usd
    from .summary import ExportSummary, ImportSummary

_MODULES = {
    "ExportSummary": "summary",
    "ImportResult": "importer",
    "ImportSummary": "summary",
    "export_usd": "exporter",
    "import_usd": "importer",
}

__all__ = ["ExportSummary", "ImportResult", "ImportSummary", "export_usd", "import_usd"]


def __getattr__(name: str) -> Any:
    # Late, so that the package can be imported where usd-core is missing.
    if name not in _MODULES:
        raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
    require_pxr()
    return getattr(importlib.import_module(f"{__name__}.{_MODULES[name]}"), name)


def require_pxr() -> None:
    """Raises ImportError with a hint where usd-core is missing."""
    try:
        importlib.import_module("pxr.Usd")
    except ImportError as error:
        raise ImportError(
            "the USD bridge needs usd-core: pip install 'tellar[usd]'", name="pxr"
        ) from error
