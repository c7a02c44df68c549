#pragma once

#include <stdint.h>

/* One step of the generated program; called every period_us microseconds. */
typedef void (*zeft_step_t)(void);

void zeft_run(zeft_step_t step, uint32_t period_us);
