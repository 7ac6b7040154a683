"""Methods of USD as functions, for the calls that an import makes for each prim.

In Python, each look-up of a method in a prim or an attribute (``prim.GetName``) is a check by USD
whether the object is still there. It takes half a microsecond, as long as many a method. These
functions do without: the methods themselves find out, too, and an import keeps the stage anyway.
"""

from __future__ import annotations

from pxr import Usd

name_of = Usd.Prim.GetName
type_of = Usd.Prim.GetTypeName
filtered_children = Usd.Prim.GetFilteredChildren
authored_property_names = Usd.Prim.GetAuthoredPropertyNames
authored_metadata = Usd.Prim.GetAllAuthoredMetadata
attribute_of = Usd.Prim.GetAttribute
"""An invalid attribute if there is none, of which the value is None."""

value_of = Usd.Attribute.Get
"""With a time code, or else the value without a time."""
metadata_of = Usd.Attribute.GetMetadata
value_type_of = Usd.Attribute.GetTypeName
may_vary = Usd.Attribute.ValueMightBeTimeVarying
has_spline = Usd.Attribute.HasSpline
