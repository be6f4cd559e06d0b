"""Turning what a caller passes into the flat float64 buffers the compiled loops read.

Every check names the argument, so that a wrong dtype, shape, text or None surfaces as a
TypeError or ValueError the caller can act on; NaN passes through (it comes back as NaN
with an INVALID status).
"""

import math
import numbers

import numpy as np


def real_array(name, value):
    """`value` as a float64 array of its own shape; TypeError for anything not numbers."""
    if value is None:
        raise TypeError(f"{name} must be a number or an array of numbers, not None")
    if isinstance(value, (str, bytes)):
        raise TypeError(f"{name} must be numbers, not text {value!r:.40}")
    try:
        array = np.asarray(value)
    except (TypeError, ValueError) as error:
        raise ValueError(f"{name} is not an array of numbers: {error}") from None
    if array.dtype.kind not in "iuf":
        raise TypeError(f"{name} must hold real numbers, not {array.dtype} values")
    return array.astype(np.float64, copy=False)


def occurrence_array(value):
    """The occurrence argument: None (first pass everywhere), 1, 2, or an array of them."""
    if value is None:
        return np.ones((), dtype=np.int8)
    array = real_array("occurrence", value)
    if not np.isin(array, (1, 2)).all():
        raise ValueError("occurrence must be 1 (first pass) or 2 (second pass behind a long "
                         "chain)")
    return array.astype(np.int8)


def broadcast(names, *arrays):
    """The arrays broadcast to one shape, then flattened contiguous; and that shape."""
    try:
        shaped = np.broadcast_arrays(*arrays)
    except ValueError:
        shapes = " and ".join(f"{n} {a.shape}" for n, a in zip(names, arrays))
        raise ValueError(f"shapes do not match: {shapes}") from None
    shape = shaped[0].shape
    return shape, [np.ascontiguousarray(a).reshape(-1) for a in shaped]


def reshape(columns, shape):
    """Each flat column back to the caller's shape; a scalar call gets numpy scalars."""
    return {k: (v.reshape(shape)[()] if isinstance(v, np.ndarray) else v)
            for k, v in columns.items()}


def length_value(name, value, allow_none=False):
    """One finite real number (a length), or None where allowed."""
    if value is None and allow_none:
        return None
    if isinstance(value, bool) or not isinstance(value, numbers.Real):
        raise TypeError(f"{name} must be a number, not {type(value).__name__}")
    value = float(value)
    if math.isnan(value):
        raise ValueError(f"{name} must not be NaN")
    return value
