"""Makes barrel.gltf and barrel.bin: a barrel as a modelling program exports it, with the one material that the
program names by itself and no naming convention anywhere.

    blender --background --factory-startup --python make_barrel.py -- OUTPUT_FOLDER
"""

import os
import sys

import bpy

folder = sys.argv[sys.argv.index("--") + 1]

bpy.ops.wm.read_factory_settings(use_empty=True)

bpy.ops.mesh.primitive_cylinder_add(vertices=12, radius=0.4, depth=1.2, location=(0, 0, 0.6))
barrel = bpy.context.active_object

# A belly: a ring of edges around the middle, pushed outwards.
bpy.ops.object.mode_set(mode="EDIT")
bpy.ops.mesh.select_all(action="SELECT")
bpy.ops.mesh.bisect(plane_co=(0, 0, 0.6), plane_no=(0, 0, 1))
bpy.ops.transform.resize(value=(1.2, 1.2, 1.0))
bpy.ops.object.mode_set(mode="OBJECT")

material = bpy.data.materials.new(name="Material.001")
material.use_nodes = True
material.node_tree.nodes["Principled BSDF"].inputs["Base Color"].default_value = (0.35, 0.2, 0.08, 1.0)
barrel.data.materials.append(material)

bpy.ops.export_scene.gltf(
    filepath=os.path.join(folder, "barrel.gltf"),
    export_format="GLTF_SEPARATE",
    export_texcoords=False,
)
