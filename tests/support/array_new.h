// The program's array new, watched: the library allocates through it and through nothing else.
#pragma once

// Arrays that were allocated and not released yet.
int liveArrays();

// Lets that many more allocations succeed and throws at the one after them; negative: throws at none.
void failArrayNewAfter(int successes);
