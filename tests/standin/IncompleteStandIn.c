/* A SketchUp library stand-in that stops after its first entry point: the binding must name
   the first missing mandatory symbol. */
void SUInitialize(void) {}
