/* The exported function of the sample resource DLL. */
__declspec(dllexport) int SampleAnswer(void) { return 42; }
