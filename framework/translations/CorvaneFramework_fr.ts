<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR" sourcelanguage="en">
<context>
    <name>CorvaneModuleView</name>
    <message>
        <source>The page of %1 cannot be shown: this view belongs to no QML engine.</source>
        <translation>La page de %1 ne peut pas être affichée&#xa0;: cette vue n’appartient à aucun moteur QML.</translation>
    </message>
    <message>
        <source>The page of %1 cannot be shown: %2</source>
        <translation>La page de %1 ne peut pas être affichée&#xa0;: %2</translation>
    </message>
    <message>
        <source>its root is no Item</source>
        <translation>sa racine n’est pas un Item</translation>
    </message>
</context>
<context>
    <name>Launchers</name>
    <message>
        <source>The launcher could not be asked: %1</source>
        <translation>Le lanceur n’a pas pu être sollicité&#xa0;: %1</translation>
    </message>
    <message>
        <source>%1 It said last:
%2</source>
        <translation>%1 Ses derniers mots&#xa0;:
%2</translation>
    </message>
    <message>
        <source>&quot;%1&quot; was not started on %2: %3</source>
        <translation>«&#xa0;%1&#xa0;» n’a pas été démarré sur %2&#xa0;: %3</translation>
    </message>
    <message>
        <source>&quot;%1&quot; runs on %2 already, as process %3, but does not answer. End it there, then connect it again.</source>
        <translation>«&#xa0;%1&#xa0;» s’exécute déjà sur %2, processus %3, mais ne répond pas. Terminez-le là-bas, puis connectez-le à nouveau.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; ended on %2 with status %3.</source>
        <translation>«&#xa0;%1&#xa0;» s’est terminé sur %2 avec le code %3.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; was ended on %2 by the signal %3.</source>
        <translation>«&#xa0;%1&#xa0;» a été interrompu sur %2 par le signal %3.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; ended on %2; how is not known, because the process that watched it was ended too.</source>
        <translation>«&#xa0;%1&#xa0;» s’est terminé sur %2&#x202f;; on ne sait pas comment, car le processus qui le surveillait a été interrompu lui aussi.</translation>
    </message>
    <message>
        <source>The launcher of %1 refused: %2</source>
        <translation>Le lanceur de %1 a refusé&#xa0;: %2</translation>
    </message>
    <message>
        <source>The certificate %1 shows a launcher of %2, whose launcher came with the certificate %3. It is neither asked nor heard. If that machine has new keys, start this program again.</source>
        <translation>Le certificat %1 présente un lanceur de %2, dont le lanceur est venu avec le certificat %3. Il n’est ni sollicité ni écouté. Si cette machine a de nouvelles clés, redémarrez ce programme.</translation>
    </message>
    <message>
        <source>This launch line was brought by a process with another certificate than that of %1&apos;s launcher, and was not started: look at all of it, and enter it yourself, if it is right.</source>
        <translation>Cette ligne de lancement vient d’un processus qui a un autre certificat que le lanceur de %1, et n’a pas été exécutée&#xa0;: vérifiez-la en entier, et saisissez-la vous-même si elle est correcte.</translation>
    </message>
</context>
<context>
    <name>NetworkConfiguration</name>
    <message>
        <source>The port stays %1: it must be from 1 to %2, not %3.</source>
        <translation>Le port reste %1&#xa0;: il doit être compris entre 1 et %2, et non %3.</translation>
    </message>
    <message>
        <source>The host&apos;s agent keeps its name until the next connection: %1</source>
        <translation>L’agent de l’hôte garde son nom jusqu’à la prochaine connexion&#xa0;: %1</translation>
    </message>
    <message>
        <source>Not connected on device &apos;%1&apos;, port %2: %3</source>
        <translation>Pas de connexion sur l’interface «&#xa0;%1&#xa0;», port %2&#xa0;: %3</translation>
    </message>
    <message>
        <source>Choose one of these devices: %1.</source>
        <translation>Choisissez l’une de ces interfaces&#xa0;: %1.</translation>
    </message>
    <message>
        <source>Choose another port, here and for the agents.</source>
        <translation>Choisissez un autre port, ici et pour les agents.</translation>
    </message>
    <message>
        <source>Check the certificates, or connect without security.</source>
        <translation>Vérifiez les certificats, ou connectez-vous sans sécurité.</translation>
    </message>
    <message>
        <source>This is the public half. Choose the private one, whose file nobody else may read.</source>
        <translation>C’est la moitié publique. Choisissez la privée, dont personne d’autre ne peut lire le fichier.</translation>
    </message>
    <message>
        <source>There is no such folder.</source>
        <translation>Ce dossier n’existe pas.</translation>
    </message>
    <message>
        <source>No certificate is in it yet: nobody is let in.</source>
        <translation>Il ne contient encore aucun certificat&#xa0;: personne n’est admis.</translation>
    </message>
    <message>
        <source>Everybody may write into this folder: nothing in it would count.</source>
        <translation>Tout le monde peut écrire dans ce dossier&#xa0;: rien de ce qu’il contient ne compterait.</translation>
    </message>
</context>
<context>
    <name>PluginManager</name>
    <message>
        <source>There is no plugin folder %1: build or install the modules there.</source>
        <translation>Le dossier de greffons %1 n’existe pas&#xa0;: compilez ou installez-y les modules.</translation>
    </message>
    <message>
        <source>%1 was not loaded: it is not a plugin of this Qt (%2).</source>
        <translation>%1 n’a pas été chargé&#xa0;: ce n’est pas un greffon de cette version de Qt (%2).</translation>
    </message>
    <message>
        <source>%1 was not loaded: its interface is &quot;%2&quot;, not &quot;%3&quot;.</source>
        <translation>%1 n’a pas été chargé&#xa0;: son interface est «&#xa0;%2&#xa0;» et non «&#xa0;%3&#xa0;».</translation>
    </message>
    <message>
        <source>%1 was not loaded: %2</source>
        <translation>%1 n’a pas été chargé&#xa0;: %2</translation>
    </message>
    <message>
        <source>%1 was not loaded: its class does not derive from CorvaneModulePlugin.</source>
        <translation>%1 n’a pas été chargé&#xa0;: sa classe ne dérive pas de CorvaneModulePlugin.</translation>
    </message>
    <message>
        <source>%1 was not loaded: it names no uuid or no tag for the document.</source>
        <translation>%1 n’a pas été chargé&#xa0;: il n’indique pas d’uuid, ou pas d’étiquette pour le document.</translation>
    </message>
    <message>
        <source>%1 was not loaded: its tag &quot;%2&quot; is a key of the document&apos;s own.</source>
        <translation>%1 n’a pas été chargé&#xa0;: son étiquette «&#xa0;%2&#xa0;» est une clé réservée au document.</translation>
    </message>
    <message>
        <source>%1 was not loaded: %2 has the same uuid or tag (&quot;%3&quot;). Remove one of them.</source>
        <translation>%1 n’a pas été chargé&#xa0;: %2 a le même uuid ou la même étiquette («&#xa0;%3&#xa0;»). Retirez l’un des deux.</translation>
    </message>
    <message>
        <source>The module of %1 could not be created.</source>
        <translation>Le module de %1 n’a pas pu être créé.</translation>
    </message>
</context>
<context>
    <name>RecorderClassPlugin</name>
    <message>
        <source>The recorder program is missing: %1 does not exist. Recorders cannot be started on this machine; build or install qnyRecorder there.</source>
        <translation>Le programme enregistreur est introuvable&#xa0;: %1 n’existe pas. Aucun enregistreur ne peut démarrer sur cette machine&#x202f;; compilez ou installez-y qnyRecorder.</translation>
    </message>
    <message>
        <source>The recorder program %1 may not be run by this user: give it execute permission.</source>
        <translation>Cet utilisateur n’a pas le droit d’exécuter le programme enregistreur %1&#xa0;: donnez-lui la permission d’exécution.</translation>
    </message>
</context>
<context>
    <name>SystemDocument</name>
    <message>
        <source>Untitled</source>
        <translation>Sans titre</translation>
    </message>
    <message>
        <source>It is not a system document: the number &quot;%1&quot; is missing. Open a file that Corvane saved.</source>
        <translation>Ce n’est pas un document système&#xa0;: le nombre «&#xa0;%1&#xa0;» manque. Ouvrez un fichier sauvegardé par Corvane.</translation>
    </message>
    <message>
        <source>It was saved by a newer Corvane (document version %1, this one reads %2). Open it with that one.</source>
        <translation>Il a été sauvegardé par une version plus récente de Corvane (document en version %1, celle-ci lit la version %2). Ouvrez-le avec cette version.</translation>
    </message>
    <message>
        <source>It is not a system document: &quot;%1&quot; must be a list. Open another file, or mend this one.</source>
        <translation>Ce n’est pas un document système&#xa0;: «&#xa0;%1&#xa0;» doit être une liste. Ouvrez un autre fichier, ou réparez celui-ci.</translation>
    </message>
    <message>
        <source>An entry of &quot;%1&quot; was not read: it needs the texts &quot;%2&quot; and &quot;%3&quot;.</source>
        <translation>Une entrée de «&#xa0;%1&#xa0;» n’a pas été lue&#xa0;: il lui faut les textes «&#xa0;%2&#xa0;» et «&#xa0;%3&#xa0;».</translation>
    </message>
    <message>
        <source>An entry of &quot;%1&quot; was not read: it needs the text &quot;%2&quot;.</source>
        <translation>Une entrée de «&#xa0;%1&#xa0;» n’a pas été lue&#xa0;: il lui faut le texte «&#xa0;%2&#xa0;».</translation>
    </message>
    <message>
        <source>System</source>
        <translation>Système</translation>
    </message>
    <message>
        <source>The uuid %1 stands twice; view &apos;%2&apos; got a new one.</source>
        <translation>L’uuid %1 figure deux fois&#x202f;; la vue «&#xa0;%2&#xa0;» en a reçu un nouveau.</translation>
    </message>
</context>
<context>
    <name>SystemDocumentHandler</name>
    <message>
        <source>line %1, column %2</source>
        <translation>ligne %1, colonne %2</translation>
    </message>
    <message>
        <source>System</source>
        <translation>Système</translation>
    </message>
    <message>
        <source>%1 could not be opened: %2. Check the name and your permissions.</source>
        <translation>Impossible d’ouvrir %1&#xa0;: %2. Vérifiez le nom et vos droits.</translation>
    </message>
    <message>
        <source>%1 could not be read: %2.</source>
        <translation>Impossible de lire %1&#xa0;: %2.</translation>
    </message>
    <message>
        <source>%1 is not a system document: it is not JSON at %2 (offset %3): %4. Open another file, or mend this one.</source>
        <translation>%1 n’est pas un document système&#xa0;: ce n’est pas du JSON, %2 (position %3)&#xa0;: %4. Ouvrez un autre fichier, ou réparez celui-ci.</translation>
    </message>
    <message>
        <source>%1 is not a system document: it holds a list, not an object. Open another file.</source>
        <translation>%1 n’est pas un document système&#xa0;: il contient une liste et non un objet. Ouvrez un autre fichier.</translation>
    </message>
    <message>
        <source>%1 was not opened. %2</source>
        <translation>%1 n’a pas été ouvert. %2</translation>
    </message>
    <message>
        <source>The block &quot;%1&quot; was not read: it must be an object.</source>
        <translation>Le bloc «&#xa0;%1&#xa0;» n’a pas été lu&#xa0;: ce doit être un objet.</translation>
    </message>
    <message>
        <source>There is no document to save.</source>
        <translation>Il n’y a pas de document à sauvegarder.</translation>
    </message>
    <message>
        <source>The document has no file yet: choose one with Save as.</source>
        <translation>Le document n’a pas encore de fichier&#xa0;: choisissez-en un avec «&#xa0;Sauvegarder sous&#xa0;».</translation>
    </message>
    <message>
        <source>The document was not saved: no file was named.</source>
        <translation>Le document n’a pas été sauvegardé&#xa0;: aucun fichier n’a été indiqué.</translation>
    </message>
    <message>
        <source>%1 could not be saved: %2. The file is as it was before; save under another name.</source>
        <translation>Impossible de sauvegarder %1&#xa0;: %2. Le fichier est resté tel quel&#x202f;; sauvegardez sous un autre nom.</translation>
    </message>
    <message>
        <source>The agent was not added: open a document first, and choose a known class.</source>
        <translation>L’agent n’a pas été ajouté&#xa0;: ouvrez d’abord un document et choisissez une classe connue.</translation>
    </message>
    <message>
        <source>The agent was not placed: open a document first.</source>
        <translation>L’agent n’a pas été placé&#xa0;: ouvrez d’abord un document.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; was not placed: another class has an instance of that name in this view. Rename one of them.</source>
        <translation>«&#xa0;%1&#xa0;» n’a pas été placé&#xa0;: une autre classe a une instance de ce nom dans cette vue. Renommez l’une des deux.</translation>
    </message>
    <message>
        <source>%1 is not a system document: it is no file. Open another one.</source>
        <translation>%1 n’est pas un document système&#xa0;: ce n’est pas un fichier. Ouvrez-en un autre.</translation>
    </message>
    <message>
        <source>%1 is not a system document: it is larger than %2 MiB. Open another file.</source>
        <translation>%1 n’est pas un document système&#xa0;: il dépasse %2 Mio. Ouvrez un autre fichier.</translation>
    </message>
</context>
<context>
    <name>SystemView</name>
    <message>
        <source>The instances of view &apos;%1&apos; were not read: &quot;%2&quot; must be a list.</source>
        <translation>Les instances de la vue «&#xa0;%1&#xa0;» n’ont pas été lues&#xa0;: «&#xa0;%2&#xa0;» doit être une liste.</translation>
    </message>
    <message>
        <source>An instance of view &apos;%1&apos; was not read: it needs the texts &quot;%2&quot; and &quot;%3&quot;. It is kept in the file as it is.</source>
        <translation>Une instance de la vue «&#xa0;%1&#xa0;» n’a pas été lue&#xa0;: il lui faut les textes «&#xa0;%2&#xa0;» et «&#xa0;%3&#xa0;». Elle est conservée telle quelle dans le fichier.</translation>
    </message>
    <message>
        <source>Two instances of view &apos;%1&apos; are named &apos;%2&apos;; the second is now &apos;%3&apos;.</source>
        <translation>Deux instances de la vue «&#xa0;%1&#xa0;» portent le nom «&#xa0;%2&#xa0;»&#x202f;; la seconde s’appelle désormais «&#xa0;%3&#xa0;».</translation>
    </message>
</context>
<context>
    <name>SystemViewClassInstance</name>
    <message>
        <source>process %1 on %2</source>
        <translation>le processus %1 sur %2</translation>
    </message>
    <message>
        <source>%1 does not accept being stopped from here. Stop %2 by hand.</source>
        <translation>%1 n’accepte pas d’être arrêté d’ici. Arrêtez %2 à la main.</translation>
    </message>
    <message>
        <source>%1 (%2) could not be asked to stop: %3</source>
        <translation>La demande d’arrêt n’a pas pu être envoyée à %1 (%2)&#xa0;: %3</translation>
    </message>
    <message>
        <source>The launch lines of &apos;%1&apos; were not read: &quot;%2&quot; must be a list.</source>
        <translation>Les lignes de lancement de «&#xa0;%1&#xa0;» n’ont pas été lues&#xa0;: «&#xa0;%2&#xa0;» doit être une liste.</translation>
    </message>
    <message>
        <source>Some launch lines of &apos;%1&apos; were not read: each entry of &quot;%2&quot; needs a text &quot;%3&quot; and a list &quot;%4&quot;.</source>
        <translation>Certaines lignes de lancement de «&#xa0;%1&#xa0;» n’ont pas été lues&#xa0;: chaque entrée de «&#xa0;%2&#xa0;» doit avoir un texte «&#xa0;%3&#xa0;» et une liste «&#xa0;%4&#xa0;».</translation>
    </message>
    <message>
        <source>The uuid %1 stands twice; a launch line of &apos;%2&apos; on %3 got a new one.</source>
        <translation>L’uuid %1 figure deux fois&#x202f;; une ligne de lancement de «&#xa0;%2&#xa0;» sur %3 en a reçu un nouveau.</translation>
    </message>
    <message>
        <source>A launch line of &apos;%1&apos; was not added: it must name a program.</source>
        <translation>Une ligne de lancement de «&#xa0;%1&#xa0;» n’a pas été ajoutée&#xa0;: elle doit indiquer un programme.</translation>
    </message>
    <message>
        <source>A launch line of &apos;%1&apos; on %2 was not read: &quot;%3&quot; must be a text that names a program.</source>
        <translation>Une ligne de lancement de «&#xa0;%1&#xa0;» sur %2 n’a pas été lue&#xa0;: «&#xa0;%3&#xa0;» doit être un texte qui indique un programme.</translation>
    </message>
</context>
<context>
    <name>SystemViewClassPlugin</name>
    <message>
        <source>The uuid %1 stands twice; &apos;%2&apos; got a new one.</source>
        <translation>L’uuid %1 figure deux fois&#x202f;; «&#xa0;%2&#xa0;» en a reçu un nouveau.</translation>
    </message>
</context>
<context>
    <name>SystemViewManager</name>
    <message>
        <source>A name needs at least one visible character; &apos;%1&apos; keeps its name.</source>
        <translation>Un nom doit avoir au moins un caractère visible&#x202f;; «&#xa0;%1&#xa0;» garde son nom.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is running and keeps its name: mappings go by it. Disconnect it, then rename it.</source>
        <translation>«&#xa0;%1&#xa0;» est en marche et garde son nom, auquel ses liaisons se réfèrent. Déconnectez-le, puis renommez-le.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; keeps its name: &apos;%2&apos; is already used in this view. Choose another.</source>
        <translation>«&#xa0;%1&#xa0;» garde son nom&#xa0;: «&#xa0;%2&#xa0;» est déjà utilisé dans cette vue. Choisissez-en un autre.</translation>
    </message>
    <message>
        <source>The launch line of &apos;%1&apos; was not changed: it is not one of the machine named.</source>
        <translation>La ligne de lancement de «&#xa0;%1&#xa0;» n’a pas été modifiée&#xa0;: elle n’est pas de la machine indiquée.</translation>
    </message>
    <message>
        <source>The launch line of &apos;%1&apos; was not changed: it must name a program.</source>
        <translation>La ligne de lancement de «&#xa0;%1&#xa0;» n’a pas été modifiée&#xa0;: elle doit indiquer un programme.</translation>
    </message>
    <message>
        <source>There is no launch line to start: enter one first.</source>
        <translation>Il n’y a aucune ligne de lancement à démarrer&#xa0;: saisissez-en d’abord une.</translation>
    </message>
    <message>
        <source>The launch line is empty: enter the program and its options first.</source>
        <translation>La ligne de lancement est vide&#xa0;: saisissez d’abord le programme et ses options.</translation>
    </message>
    <message>
        <source>The launch line holds a hidden password (%1), as the network shows it: enter the real one first.</source>
        <translation>La ligne de lancement contient un mot de passe masqué (%1), tel que le réseau le montre&#xa0;: saisissez d’abord le vrai.</translation>
    </message>
    <message>
        <source>Nothing starts agents on %1: start qnyLauncher on that machine, on this network.</source>
        <translation>Rien ne démarre d’agents sur %1&#xa0;: lancez qnyLauncher sur cette machine, sur ce réseau.</translation>
    </message>
    <message>
        <source>an unknown machine</source>
        <translation>une machine inconnue</translation>
    </message>
    <message>
        <source>%1 was not found on this machine: correct the launch line, or install the program.</source>
        <translation>%1 est introuvable sur cette machine&#xa0;: corrigez la ligne de lancement, ou installez le programme.</translation>
    </message>
    <message>
        <source>%1 could not be started: check that it may be run.</source>
        <translation>%1 n’a pas pu être démarré&#xa0;: vérifiez qu’il peut être exécuté.</translation>
    </message>
</context>
</TS>
