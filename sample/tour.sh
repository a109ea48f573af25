#!/usr/bin/env bash
# The main job on a scratch copy of the sample: a model becomes destructible, is tuned, saved and read again.
#
#   sample/tour.sh TOOL SCRATCH
#
# TOOL is the destructibles program; the folder SCRATCH is made anew.
set -euo pipefail
tool=$(realpath "$1")
sample=$(realpath "$(dirname "${BASH_SOURCE[0]}")")
mkdir -p "$2"
scratch=$(realpath "$2")
rm -rf "${scratch:?}"/*
cp -r "$sample"/{scripts,content,source} "$scratch"
cd "$scratch"
export DESTRUCTIBLES_ROOT=$scratch

bold=''
plain=''
if [ -t 1 ]; then
  bold=$'\033[1m'
  plain=$'\033[0m'
fi

# step ARGS...: shows the command and runs it.
step() {
  printf '\n%s$ destructibles%s%s\n' "$bold" "$(printf ' %q' "$@")" "$plain"
  "$tool" "$@"
}

cp scripts/destructibles.xml before.xml

printf '%s\n' "# A barrel comes in from a modelling program and becomes a fragile."
step import source/barrel.glb content/props/barrel.model
step health content/props/barrel.model
step convert content/props/barrel.model auto
step set content/props/barrel.model health=12 hitEffect=inf_hit_wood
step show content/props/barrel.model

printf '\n%s\n' "# A second house becomes a structure with a state of its own."
step import source/house.glb content/buildings/corner_house.model
step convert content/buildings/corner_house.model structure
step set content/buildings/corner_house.model achievementTag=corner_house
step set content/buildings/corner_house.model --module n_roof_5_6 health=40 effectScale=1.5
step state content/buildings/corner_house.model add open_roof
step state content/buildings/corner_house.model add-material open_roof n_roof_5_6 n_chimney_6
step show content/buildings/corner_house.model --state open_roof
step list

printf '\n%s\n' "# What the saves made of the database:"
diff --unified=1 --label before --label after before.xml scripts/destructibles.xml || [ $? -eq 1 ]
