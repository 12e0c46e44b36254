<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR" sourcelanguage="en">
<context>
    <name>AboutDialog</name>
    <message>
        <source>About %1</source>
        <translation>À propos de %1</translation>
    </message>
    <message>
        <source>&lt;b&gt;Notes&lt;/b&gt; %1</source>
        <translation>&lt;b&gt;Notes&lt;/b&gt; %1</translation>
    </message>
    <message>
        <source>A small app to keep notes.
Its texts come from Linguist catalogues.</source>
        <translation>Une petite application pour garder des notes.
Ses textes viennent de catalogues Linguist.</translation>
    </message>
</context>
<context>
    <name>NoteForm</name>
    <message>
        <source>Title:</source>
        <translation>Titre :</translation>
    </message>
    <message>
        <source>What is it about?</source>
        <translation>De quoi parle-t-elle ?</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Enregistrer</translation>
    </message>
</context>
<context>
    <name>NotesWindow</name>
    <message>
        <source>Notes</source>
        <translation>Notes</translation>
    </message>
    <message>
        <source>Welcome to %1!</source>
        <translation>Bienvenue dans %1 !</translation>
    </message>
    <message>
        <source>Kolvane Notes</source>
        <translation>Kolvane Notes</translation>
    </message>
    <message numerus="yes">
        <source>%n note(s)</source>
        <translation>
            <numerusform>%n note</numerusform>
            <numerusform>%n notes</numerusform>
        </translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Fichier</translation>
    </message>
    <message>
        <source>&amp;New Note</source>
        <translation>&amp;Nouvelle note</translation>
    </message>
    <message>
        <source>&amp;Open</source>
        <comment>verb</comment>
        <extracomment>Opens a note: the verb, not the state.</extracomment>
        <translation>&amp;Ouvrir</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Quitter</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Aide</translation>
    </message>
    <message>
        <source>&amp;About Notes</source>
        <translation>À &amp;propos de Notes</translation>
    </message>
    <message>
        <source>Write a new note</source>
        <translation>Écrire une nouvelle note</translation>
    </message>
    <message>
        <source>Untitled note</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open</source>
        <comment>state</comment>
        <translation>Ouverte</translation>
    </message>
</context>
</TS>
