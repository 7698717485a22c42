// Paths of files: absolute ones, shorter ones, temporary ones. Both separators, backslash and slash, are
// recognised; those that are added here are backslashes. No operation fails: a missing service or setting
// only changes where a file goes. What folders hold is directorylisting.h's business. Threads: any; a string
// belongs to one thread.
#pragma once

#include <string>

class KelString;

namespace kel {

// Starts with a separator, or with a letter and a colon.
[[nodiscard]] bool isAbsolutePath(const KelString& path);

// Completes a path that is not absolute against the current working directory. A directory of more than 256
// units, or one whose name is no text, leaves the path as it is: it is then still good relative to that
// directory.
void makeAbsolute(KelString& path);

// a\b\..\c becomes a\c, as often as a step has something before it to take away. Returns whether anything
// changed.
bool collapseParentSteps(KelString& path);

// The host's directory of this name ("temp"); empty without a directory service.
[[nodiscard]] std::string specialDirectory(const char* name);

// A path that no other call gives, in the folder of the setting "Directories/Temp Directory", else in the
// special directory "temp", else at the root. Nothing is created. Always true.
bool makeTempFileName(KelString& path);

}  // namespace kel
