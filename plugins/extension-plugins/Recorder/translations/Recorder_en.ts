<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="en">
<context>
    <name>RecorderItem</name>
    <message numerus="yes">
        <source>%n instances</source>
        <translation>
            <numerusform>%Ln instance</numerusform>
            <numerusform>%Ln instances</numerusform>
        </translation>
    </message>
</context>
</TS>
