// The one way in which the driver stops a boot.
#pragma once

// Never returns and calls nothing.
[[noreturn]] void HaltForever();
