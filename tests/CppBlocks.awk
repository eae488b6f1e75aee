# Makes one source file, out, of the C++ blocks of a page. The compiler's messages name the page's lines.
/^```cpp/ { inside = 1; printf "#line %d \"%s\"\n", FNR + 1, FILENAME > out; next }
/^```/ { inside = 0 }
inside { print > out }
