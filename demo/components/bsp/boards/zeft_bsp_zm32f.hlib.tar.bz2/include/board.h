#pragma once

#define ZEFT_BOARD "ZM-32F Motion Board"
#define ZEFT_CLOCK_HZ 168000000UL

void board_init(void);
void board_led(int on);
