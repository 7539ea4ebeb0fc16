// The main queue, as far as the HAL client uses it. The test drains it: FakeHAL.
#pragma once

typedef struct dispatch_queue_s* dispatch_queue_t;

extern "C" {

dispatch_queue_t dispatch_get_main_queue(void);
void dispatch_assert_queue(dispatch_queue_t queue);
}
