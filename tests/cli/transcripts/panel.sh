# The house as a structure, the crate as a fragile, and a file of effects.
module=$(tags module "$(tags matName n_wall_1)$(tags health 11)$(tags effectHP HP_wall_2)")
fragiles=$(tags fragiles "$(entry content/props/crate.model "$(tags health 7)")")
structures=$(tags structures "$(entry content/buildings/house.model "$(tags modules "$module")")")
database "$(tags root "$fragiles$structures")"
effects="$(tags structures '<s_hit/>')$(tags fragiles '<f_hit/><f_lifetime/>')"
tags root "$effects" > scripts/destructibles_effects.xml
