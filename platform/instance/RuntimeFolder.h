#pragma once

#include <string>

namespace companion {

// Where the user's programs of one session keep what is of use only while they run.
struct RuntimePlaces {
    std::string session;   // $XDG_RUNTIME_DIR; empty: none.
    std::string temporary; // For sessions without one.

    static RuntimePlaces ofThisSession();
};

// The program's own folder there: the same for every start of the same user, and nobody else can read it or
// put anything into it. A session folder that is another user's, or that others may write to, counts as none.
std::string runtimeFolder(const RuntimePlaces &places);

// Makes the folder if it is not there, and looks at what is there: a link, another user's folder or one that
// others may write to is refused. False with the reason.
bool makeRuntimeFolder(const std::string &folder, std::string &error);

// Whether something can be made in this folder. False with the reason.
bool mayMakeIn(const std::string &folder, std::string &error);

} // namespace companion
