"""An op type written in Python, in an op graph.

    python examples/fade.py build/faded.oxop
"""

from __future__ import annotations

import sys

import tellar


class FadeByHeight(tellar.OpType):
    """Tells for each location how visible it is: less with every unit that it lies higher."""

    inputs = "one"
    arguments = {
        "types": "string[]  The types of the locations. Required.",
        "top": "double  The height where nothing is visible. Default: 10.",
    }

    def prepare(self, args: tellar.Group) -> object:
        types = args["types"]
        top = float(args.get("top", [10.0])[0])
        if top <= 0:
            raise tellar.InvalidValueError("top: the height must be above 0", attribute="top")
        return ((types,) if isinstance(types, str) else types, top)

    def cook(self, location: tellar.CookContext) -> None:
        types, top = location.prepared
        source = location.input()
        if source is None or not location.pass_input():
            return
        bound = source.attributes.get("bound")
        if bound is not None and source.attributes.get("type") in types:
            height = float(bound[3])  # x min, x max, y min, y max, ...
            location.set_attribute("user.visible", max(0.0, 1.0 - height / top))


def graph() -> tellar.Op:
    """Two balls, one on the other, that fade with their height."""
    ball = {"a": {"type": "sphere", "bound": [-1.0, 1.0, -1.0, 1.0, -1.0, 1.0]}}
    tall = {"a": {"type": "sphere", "bound": [-1.0, 1.0, 1.0, 3.0, -1.0, 1.0]}}
    balls = tellar.ops.StaticScene(c={"world": {"c": {"ball": ball, "tall": tall}}})
    return FadeByHeight(balls, types=["sphere"], top=4.0, name="fade")


def main() -> None:
    op = graph()
    for location in op.scene().walk("/root/world", types=["sphere"]):
        print(location.path, location["user.visible"][0])
    for path in sys.argv[1:]:
        tellar.write_op_file(op, path)


if __name__ == "__main__":
    main()
