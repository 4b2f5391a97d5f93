// An operator new that throws on demand, in every program that links this part.
#pragma once

// While true, operator new throws std::bad_alloc on this thread.
extern thread_local bool throwingNew;
