// A function whose frame has a size that the build sets and no frame pointer.
extern "C" __attribute__((visibility("default"))) void CallThroughModule(void (*function)(void*),
                                                                         void* context) {
  volatile char room[TEST_FRAME_SIZE];
  room[0] = 1;
  function(context);
  room[1] = room[0];
}
