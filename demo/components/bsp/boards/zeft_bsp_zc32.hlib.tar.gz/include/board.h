#pragma once

#define ZEFT_BOARD "ZC-32 Control Board"
#define ZEFT_CLOCK_HZ 72000000UL

void board_init(void);
void board_led(int on);
