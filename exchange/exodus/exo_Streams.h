// exo_Streams.h: the Exodus II library keeps its messages to itself
#pragma once

/// Before a file is opened or made: no messages of the library's own, and a valid stream for those of its last resort.
void exo_QuietLibrary();
