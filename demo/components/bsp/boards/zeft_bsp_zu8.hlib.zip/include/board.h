#pragma once

#define ZEFT_BOARD "ZU-8 Starter Board"
#define ZEFT_CLOCK_HZ 16000000UL

void board_init(void);
void board_led(int on);
