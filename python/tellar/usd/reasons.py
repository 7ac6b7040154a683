"""The reasons of failures, in one line each."""

from __future__ import annotations

from pxr import Tf


def reason_of(error: Exception) -> str:
    """The reason that USD or the system gives for a failure."""
    if isinstance(error, Tf.ErrorException):
        texts = dict.fromkeys(str(item.commentary).strip() for item in error.args)
        reason = "; ".join(texts)
    elif isinstance(error, OSError) and error.strerror:
        reason = error.strerror
    else:
        reason = str(error)
    return " ".join(reason.split()) or "unknown error"
