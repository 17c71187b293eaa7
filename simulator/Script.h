#pragma once

#include "simulator/Outcome.h"

#include <deque>

namespace simulator {

// What is to happen in a run (docs/simulator.md): the script that VIMBRA_SIM_SCRIPT names, then one
// setting NAME=VALUE per line of VIMBRA_SIM_SETTINGS. A fault in them ends the process before
// `main`.

/// The outcome of the next call with this key, which is used up; the ordinary one behind the last.
Outcome takeOutcome(const std::string& key);

/// The outcomes that are left for the key; null if the script has never had any.
const std::deque<Outcome>* findOutcomes(const std::string& key);

/// The value of a setting; and the numbers of which it consists.
const std::string& setting(const char* name);
std::vector<long long> numberSetting(const char* name);

} // namespace simulator
