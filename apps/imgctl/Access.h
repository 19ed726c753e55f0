#pragma once

namespace imgctl {

/// Whether a command line's first word is one of those below.
bool isAccessCommand(const char* word);

/// Says who may use a camera over the network: imgctl user, imgctl token, imgctl tls. They work on
/// files beside the camera, which may be running: it sees the change within 2 seconds. Whoever may
/// write those files may do this; a password is asked for at the terminal, or read from standard
/// input, never taken from the command line, where others could see it.
/// @return the exit status
int runAccess(int argc, char* const* argv);

} // namespace imgctl
