// A program that does nothing: it is built so that the prelude is compiled for the test programs.
int main() { return 0; }
