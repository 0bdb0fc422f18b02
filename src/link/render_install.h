// Where the renderer is installed, and which version it is.
#pragma once

#include "support/text.h"

// The folder that the system's records name; empty when there is none.
WideString FindInstallFolder();

// Whether launcher, viewer and engine can be read in the folder.
bool IsRenderPathComplete(const WideString& folder);

// Makes the folder the render path, or the registered one when it is not complete. Whether there is a
// render path then.
bool SetRenderPath(const WideString& folder);

// Paths of the installation's launcher and settings file.
WideString launcherPath(const WideString& folder);
WideString settingsPath(const WideString& folder);

// The version of the registered installation, read from its settings at every call; empty when there
// is none.
WideString ReadInstalledVersion();

// Prints the installed version; whether it comes after "1.7.1" as a text, so that 1.10.0 does not.
bool IsInstalledVersionUsable();

// Compares dotted versions by number, part by part, over the parts of the wanted one. An empty version
// passes; a part that is missing counts as 0, but a version of one character is compared in its first
// part only. Throws std::invalid_argument "invalid stoi argument"
// and std::out_of_range "stoi argument out of range".
bool IsVersionAtLeast(WideView version, WideView wanted);

// From this version on the renderer takes instance paths.
inline constexpr WideView versionWithPaths = u"2.4";
