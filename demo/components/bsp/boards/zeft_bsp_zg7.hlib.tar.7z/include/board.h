#pragma once

#define ZEFT_BOARD "ZG-7 FPGA Module"
#define ZEFT_CLOCK_HZ 125000000UL

void board_init(void);
void board_led(int on);
