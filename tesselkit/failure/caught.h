// What to do with an exception that goes no further.
#pragma once

namespace tesselkit::failure {

// Within a `catch (...)`: ends the exception that is being handled, with all that its catcher owns.
void EndCaughtException() noexcept;

}  // namespace tesselkit::failure
