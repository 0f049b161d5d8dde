#pragma once

#include <string>
#include <vector>

namespace tlx::photolibrary {

/// The desktop's standard folders for this person, absolute, without a closing slash. A variable that is unset or not
/// absolute gives way to its default below the home folder. What the environment said first holds for the process.
std::string xdgCacheHome();   ///< $XDG_CACHE_HOME or ~/.cache
std::string xdgConfigHome();  ///< $XDG_CONFIG_HOME or ~/.config
std::string xdgDataHome();    ///< $XDG_DATA_HOME or ~/.local/share

/// The pictures and the videos folder as user-dirs.dirs names them, else ~/Pictures and ~/Videos; once when they are
/// one. They need not exist. A folder that user-dirs.dirs sets to the home folder itself is switched off there, and
/// left out.
std::vector<std::string> defaultRoots();

}  // namespace tlx::photolibrary
