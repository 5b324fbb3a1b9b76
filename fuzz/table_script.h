// What a host does with a table of the library's own, as the input says.
#pragma once

#include "fuzz/input.h"
#include "keluab/tables.h"

namespace uab::fuzz {

// Reads all rows, some of their columns, and then some from anywhere.
void ReadTable(Input& input, IMAPITable& table);

}  // namespace uab::fuzz
