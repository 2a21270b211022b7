// Puts the whole process-wide state of the backend back to what it is at process start.
#pragma once

void reset_backend_state();
