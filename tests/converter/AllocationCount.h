// How often this program has allocated with operator new.
#pragma once

long AllocationCount();
