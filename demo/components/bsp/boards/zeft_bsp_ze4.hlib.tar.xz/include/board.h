#pragma once

#define ZEFT_BOARD "ZE-4 Gateway"
#define ZEFT_CLOCK_HZ 800000000UL

void board_init(void);
void board_led(int on);
