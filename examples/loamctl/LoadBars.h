// How busy processors are, as bars of characters.
//
//       0 ██████▌     65%    1 ▏           1%
#pragma once

#include <string>
#include <vector>

/// A bar of `cells` characters for a load from 0 to 1, in steps of an eighth of a character and
/// filled up with blanks. What is more than 1 is a full bar, and what is no number an empty one.
std::string BarOf(float load, int cells);

/// A load for people: "65%". What is no number is "?".
std::string PercentOf(float load);

/// The bars of all processors, several on a line if the lines are `width` columns wide, one beneath
/// the other. Processors that don't fit into `height` lines are left out.
std::vector<std::string> LinesOfBars(std::vector<float> const& loads, int width, int height);
