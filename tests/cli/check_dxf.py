"""Reads a DXF file with ezdxf and prints what the converter's test checks:
one line per entity of the model space, "TYPE LAYER X Y Z [TEXT]"."""
import sys

import ezdxf

# The strict reader: a structure error raises and fails the check.
doc = ezdxf.readfile(sys.argv[1])
for entity in doc.modelspace():
    kind = entity.dxftype()
    if kind == "POINT":
        x, y, z = entity.dxf.location
        print(f"POINT {entity.dxf.layer} {x:.3f} {y:.3f} {z:.3f}")
    elif kind == "TEXT":
        x, y, z = entity.dxf.insert
        print(f"TEXT {entity.dxf.layer} {x:.3f} {y:.3f} {z:.3f} {entity.dxf.text}")
    else:
        print(kind)
