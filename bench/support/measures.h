#pragma once

#include <benchmark/benchmark.h>

#include <string>

namespace Tal {
class KsDestructiblesHelper;
}

namespace bench {

/// What is measured of a database, given its file's bytes. Those that write or load make a studio of their
/// own.

/// A parse of the bytes by pugixml, which finds out their encoding itself and fills no table.
void measureParse(benchmark::State& state, const std::string& bytes);

/// A load by a process that has not read the file before.
void measureFirstLoad(benchmark::State& state, std::string bytes);

/// A save of a structure up to its closing reload, with the structure made of so many modules. Reports manual
/// times.
void measureSaveWithoutReload(benchmark::State& state, std::string bytes, unsigned moduleCount);

/// The floor of a save: the same bytes written to a file beside, flushed, and renamed over the old file.
void measureWriteOnce(benchmark::State& state, std::string bytes);

/// Lets a moment pass, as between any two saves: a file that has just been written has a time of change that
/// does not tell one write from the next, and every open would read it.
void pause();

/// What an editor does after a save, when the monitor tells of it.
void hearOfTheSave(Tal::KsDestructiblesHelper& helper);

}  // namespace bench
