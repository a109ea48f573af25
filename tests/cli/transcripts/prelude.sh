# The functions of the transcripts.
set -o pipefail

# database [TEXT]: writes the text, or what comes in, into the database.
database() { if [ $# -gt 0 ]; then printf %s "$1"; else cat; fi > scripts/destructibles.xml; }

show_database() { cat scripts/destructibles.xml; }

# tags NAME TEXT...: each text in an element of that name.
tags() {
  local name=$1 text
  shift
  for text; do printf '<%s>%s</%s>' "$name" "$text" "$name"; done
}

# entry FILENAME [MORE]: an entry of the database.
entry() { tags entry "$(tags filename "$1")${2:-}"; }

# model STEM [MATERIAL=KIND...] [bsp NAME...] [nodes NAME...] [corner X,Y,Z]: writes the files of a model.
model() {
  local stem=$1 word list=materials materials= bsp= nodes= corner=1,1,1
  shift
  for word; do
    case $list:$word in
      *:bsp | *:nodes | *:corner) list=$word ;;
      materials:*) materials+=$(tags material "$(tags identifier "${word%=*}")$(tags kind "${word##*=}")") ;;
      bsp:*) bsp+=$(tags material "$word") ;;
      nodes:*) nodes+=$(tags node "$(tags name "$word")") ;;
      corner:*) corner=$word ;;
    esac
  done
  mkdir -p "$(dirname "$stem")"
  tags root "$(tags visual "$stem.visual")$(tags bspMaterials "$bsp")" > "$stem.model"
  local box=$(tags boundingBox "$(tags min '0 0 0')$(tags max "${corner//,/ }")")
  tags root "$box$(tags materials "$materials")$(tags skeleton "$nodes")" > "$stem.visual"
}

# members KEY|KEY...: these members of the JSON object that comes in.
members() {
  awk -v keys="^  \"($1)\":" '$0 ~ keys { print; inside = /[[{]$/; next } inside { print; inside = !/^  []}]/ }'
}

# told_back REASON: the commands that the file "messages" gives for what was thrown away.
told_back() { sed -n "s/^destructibles: warning: thrown away ($1): /destructibles /p" messages; }

# give_back REASON: runs them; there must be one, and none may be refused.
give_back() { told_back "$1" | grep -q . && bash -ec "$(told_back "$1")" > printed 2>&1; }
