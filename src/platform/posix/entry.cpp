#include "run/main.h"

int main() {
  return mMain::Main();
}
