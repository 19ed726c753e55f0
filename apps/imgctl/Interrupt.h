#pragma once

namespace imgctl {

/// From now on SIGINT does not end the process but is remembered.
void catchInterrupts();

/// @return true once after each SIGINT
bool takeInterrupt();

} // namespace imgctl
