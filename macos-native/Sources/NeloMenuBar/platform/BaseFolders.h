#pragma once

/// Forgets folders of the environment (XDG_CONFIG_HOME and its like) that are relative, for us and for the processes
/// that we start: what is kept would else be kept wherever the program happens to be started. To be called before
/// anything else runs. They are invalid by https://specifications.freedesktop.org/basedir-spec/latest/, but Qt takes
/// them.
void ignoreRelativeBaseFolders();
