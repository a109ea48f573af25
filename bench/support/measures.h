#pragma once

#include <string>

#include "rounds.h"
#include "studio.h"

namespace bench {

/// What is measured of a database. The studio, which is the mounted one whenever a side runs, must outlive
/// the sides; each of them leaves the tables loaded from the studio's file.

/// A parse of the studio's first bytes by pugixml, which finds out their encoding itself and fills no table.
Side parseSide(const Studio& studio, std::string name);

/// A load by a process that has not read the file before.
Side firstLoadSide(const Studio& studio, std::string name);

/// The floor of a save: the studio's first bytes written to a file beside, flushed, and renamed over another.
Side writeSide(const Studio& studio, std::string name);

/// A save of the structure that is model number `model` of the mounted studio's database, made of so many
/// modules: up to its closing reload, or whole.
Side saveSide(std::string name, int model, unsigned moduleCount, bool isWhole);

/// Lets a moment pass, as between any two saves: a file that has just been written has a time of change that
/// does not tell one write from the next, and every open would read it.
void pause();

}  // namespace bench
