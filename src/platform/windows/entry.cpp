#include <windows.h>

#include "run/main.h"

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
  return mMain::Main();
}
