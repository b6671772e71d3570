<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR" sourcelanguage="en">
<context>
    <name>CertificateField</name>
    <message>
        <source>Choose a folder</source>
        <translation>Choisir un dossier</translation>
    </message>
    <message>
        <source>Choose a file</source>
        <translation>Choisir un fichier</translation>
    </message>
</context>
<context>
    <name>ClassMenu</name>
    <message>
        <source>on %1</source>
        <translation>sur %1</translation>
    </message>
</context>
<context>
    <name>CommandLine</name>
    <message>
        <source>&quot;en&quot; or &quot;fr&quot;; else the desktop&apos;s.</source>
        <translation>«&#xa0;en&#xa0;» ou «&#xa0;fr&#xa0;»&#x202f;; sinon celle du bureau.</translation>
    </message>
    <message>
        <source>Network device, by name or address.</source>
        <translation>Interface réseau, par son nom ou son adresse.</translation>
    </message>
    <message>
        <source>UDP port of discovery, the same for all on a network.</source>
        <translation>Port UDP de découverte, le même pour tous sur un réseau.</translation>
    </message>
    <message>
        <source>Peers to try besides discovery: host:port,host:port.</source>
        <translation>Pairs à essayer en plus de la découverte&#xa0;: hôte:port,hôte:port.</translation>
    </message>
    <message>
        <source>Folder of the module plugins.</source>
        <translation>Dossier des greffons de modules.</translation>
    </message>
    <message>
        <source>Start the sample plant, and end it with the program.</source>
        <translation>Démarrer l’installation d’exemple, et l’arrêter avec le programme.</translation>
    </message>
    <message>
        <source>Folder in which each agent of the plant notes what it publishes.</source>
        <translation>Dossier où chaque agent de l’installation note ce qu’il publie.</translation>
    </message>
    <message>
        <source>Show what the parts do together, step by step, and end.</source>
        <translation>Montrer pas à pas ce que les parties font ensemble, puis quitter.</translation>
    </message>
    <message>
        <source>Folder for what the tour leaves.</source>
        <translation>Dossier de ce que laisse la visite.</translation>
    </message>
    <message>
        <source>Draw the window into a PNG file, and end.</source>
        <translation>Dessiner la fenêtre dans un fichier PNG, puis quitter.</translation>
    </message>
    <message>
        <source>Page shown first: &quot;system&quot;, or the tag of a module.</source>
        <translation>Première page affichée&#xa0;: «&#xa0;system&#xa0;», ou l’étiquette d’un module.</translation>
    </message>
    <message>
        <source>&quot;light&quot; or &quot;dark&quot;; else the desktop&apos;s.</source>
        <translation>«&#xa0;light&#xa0;» (clair) ou «&#xa0;dark&#xa0;» (sombre)&#x202f;; sinon celui du bureau.</translation>
    </message>
    <message>
        <source>Show this and end.</source>
        <translation>Afficher cette aide et quitter.</translation>
    </message>
    <message>
        <source>Show the version and end.</source>
        <translation>Afficher la version et quitter.</translation>
    </message>
    <message>
        <source>Opens a system document, supervises its agents, and shows the modules&apos; pages.</source>
        <translation>Ouvre un document système, supervise ses agents et montre les pages des modules.</translation>
    </message>
    <message>
        <source>The system document; else the sample document.</source>
        <translation>Le document système&#x202f;; sinon le document d’exemple.</translation>
    </message>
    <message>
        <source>Usage: %1</source>
        <translation>Utilisation&#xa0;: %1</translation>
    </message>
    <message>
        <source>Only one document can be opened, but %1 were given</source>
        <translation>Un seul document peut être ouvert, mais %1 ont été donnés</translation>
    </message>
    <message>
        <source>Option &apos;%1&apos; needs a value</source>
        <translation>L’option «&#xa0;%1&#xa0;» demande une valeur</translation>
    </message>
    <message>
        <source>&apos;--tour&apos; and &apos;--screenshot&apos; exclude one another</source>
        <translation>«&#xa0;--tour&#xa0;» et «&#xa0;--screenshot&#xa0;» s’excluent</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is no port (1 to 65535)</source>
        <translation>«&#xa0;%1&#xa0;» n’est pas un port (1 à 65535)</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is no theme (light or dark)</source>
        <translation>«&#xa0;%1&#xa0;» n’est pas un thème (light ou dark)</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is no language (en or fr)</source>
        <translation>«&#xa0;%1&#xa0;» n’est pas une langue (en ou fr)</translation>
    </message>
    <message>
        <source>%1 (see corvane --help)</source>
        <translation>%1 (voir corvane --help)</translation>
    </message>
    <message>
        <source>Size of the window at its start, such as 1280x800.</source>
        <translation>Taille de la fenêtre au démarrage, par exemple 1280x800.</translation>
    </message>
    <message>
        <source>Keep a JSON file that says what can be pressed in the window, and where.</source>
        <translation>Tenir un fichier JSON qui dit ce que l’on peut presser dans la fenêtre, et où.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is no size (such as 1280x800)</source>
        <translation>«&#xa0;%1&#xa0;» n’est pas une taille (par exemple 1280x800)</translation>
    </message>
    <message>
        <source>What the tour&apos;s recorder keeps records in: &quot;embedded&quot;, &quot;csv&quot; or a Cassandra&apos;s HOST:PORT.</source>
        <translation>Où l’enregistreur de la visite garde ses enregistrements&#xa0;: «&#xa0;embedded&#xa0;», «&#xa0;csv&#xa0;» ou le HOST:PORT d’une Cassandra.</translation>
    </message>
    <message>
        <source>Option &apos;%1&apos; belongs to &apos;--tour&apos;</source>
        <translation>L’option «&#xa0;%1&#xa0;» va avec «&#xa0;--tour&#xa0;»</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is no store (embedded, csv or HOST:PORT)</source>
        <translation>«&#xa0;%1&#xa0;» n’est pas un stockage (embedded, csv ou HOST:PORT)</translation>
    </message>
    <message>
        <source>This program&apos;s private certificate: with --publicCerts, the network is secured.</source>
        <translation>Certificat privé de ce programme&#xa0;: avec --publicCerts, le réseau est sécurisé.</translation>
    </message>
    <message>
        <source>Folder of the public certificates that are let in.</source>
        <translation>Dossier des certificats publics admis.</translation>
    </message>
    <message>
        <source>&apos;--qnyCert&apos; and &apos;--publicCerts&apos; need one another</source>
        <translation>«&#xa0;--qnyCert&#xa0;» et «&#xa0;--publicCerts&#xa0;» vont ensemble</translation>
    </message>
</context>
<context>
    <name>ConfirmDeletion</name>
    <message>
        <source>Delete &quot;%1&quot; from the system?</source>
        <translation>Supprimer «&#xa0;%1&#xa0;» du système&#x202f;?</translation>
    </message>
    <message>
        <source>Its launch lines go with it. An agent that runs goes on running, and is listed as not placed.</source>
        <translation>Ses lignes de lancement disparaissent avec lui. Un agent en marche continue de tourner et figure parmi les agents non placés.</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Supprimer</translation>
    </message>
    <message>
        <source>Keep it</source>
        <translation>Le garder</translation>
    </message>
</context>
<context>
    <name>ConfirmEnd</name>
    <message>
        <source>End &quot;%1&quot;?</source>
        <translation>Terminer «&#xa0;%1&#xa0;»&#x202f;?</translation>
    </message>
    <message>
        <source>The launcher of its machine asks it to end, and kills it when it does not. What it has not written yet is lost.</source>
        <translation>Le lanceur de sa machine lui demande de se terminer, et l’y force s’il ne le fait pas. Ce qu’il n’a pas encore écrit est perdu.</translation>
    </message>
    <message>
        <source>End</source>
        <translation>Terminer</translation>
    </message>
    <message>
        <source>Leave it running</source>
        <translation>Le laisser s’exécuter</translation>
    </message>
</context>
<context>
    <name>ControlReport</name>
    <message>
        <source>The controls cannot be reported to %1: %2.</source>
        <translation>Les commandes ne peuvent pas être décrites dans %1&#xa0;: %2.</translation>
    </message>
</context>
<context>
    <name>EmptySystem</name>
    <message>
        <source>Nothing in this system yet</source>
        <translation>Ce système est encore vide</translation>
    </message>
    <message>
        <source>Add a recorder, or place an agent that is on the network.</source>
        <translation>Ajoutez un enregistreur, ou placez un agent présent sur le réseau.</translation>
    </message>
    <message>
        <source>Add</source>
        <translation>Ajouter</translation>
    </message>
</context>
<context>
    <name>HostApplication</name>
    <message>
        <source>The sample agent &quot;%1&quot; failed: %2.</source>
        <translation>L’agent d’exemple «&#xa0;%1&#xa0;» a échoué&#xa0;: %2.</translation>
    </message>
    <message>
        <source>The folder %1 holds none.</source>
        <translation>Le dossier %1 n’en contient aucun.</translation>
    </message>
    <message>
        <source>No module plugin was loaded. %1 Another folder can be named with --plugins.</source>
        <translation>Aucun greffon de module n’a été chargé. %1 Un autre dossier peut être indiqué avec --plugins.</translation>
    </message>
    <message>
        <source>The module of %1 could not be created.</source>
        <translation>Le module de %1 n’a pas pu être créé.</translation>
    </message>
    <message>
        <source>The network cannot be joined: %1</source>
        <translation>Impossible de rejoindre le réseau&#xa0;: %1</translation>
    </message>
    <message>
        <source>System documents (*.json)</source>
        <translation>Documents système (*.json)</translation>
    </message>
    <message>
        <source>There is no page &quot;%1&quot;: no plugin of that tag was loaded.</source>
        <translation>Il n’y a pas de page «&#xa0;%1&#xa0;»&#xa0;: aucun greffon de cette étiquette n’a été chargé.</translation>
    </message>
    <message>
        <source>The window cannot be made: %1</source>
        <translation>La fenêtre ne peut pas être créée&#xa0;: %1</translation>
    </message>
    <message>
        <source>There is no window to draw.</source>
        <translation>Il n’y a pas de fenêtre à dessiner.</translation>
    </message>
    <message>
        <source>The window could not be drawn.</source>
        <translation>La fenêtre n’a pas pu être dessinée.</translation>
    </message>
    <message>
        <source>The picture could not be written to %1; is the folder there and writable?</source>
        <translation>L’image n’a pas pu être écrite dans %1&#x202f;; le dossier existe-t-il, et peut-on y écrire&#x202f;?</translation>
    </message>
    <message>
        <source>Save the changes of &quot;%1&quot; before it is closed?</source>
        <translation>Sauvegarder les modifications de «&#xa0;%1&#xa0;» avant de le fermer&#x202f;?</translation>
    </message>
    <message>
        <source>Open a system document</source>
        <translation>Ouvrir un document système</translation>
    </message>
    <message>
        <source>Save the system document</source>
        <translation>Sauvegarder le document système</translation>
    </message>
    <message>
        <source>The system itself did not change, only what modules keep with it, such as a file or a filter.</source>
        <translation>Le système lui-même n’a pas changé, seulement ce que des modules gardent avec lui, comme un fichier ou un filtre.</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Sauvegarder</translation>
    </message>
    <message>
        <source>%1 cannot be read, so it is not known whether the network was secured.</source>
        <translation>%1 ne peut pas être lu&#xa0;: on ignore donc si le réseau était sécurisé.</translation>
    </message>
</context>
<context>
    <name>HostButton</name>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
</context>
<context>
    <name>InstanceControl</name>
    <message>
        <source>this machine</source>
        <translation>cette machine</translation>
    </message>
    <message>
        <source>Starting</source>
        <translation>Démarrage</translation>
    </message>
    <message>
        <source>Stopping</source>
        <translation>Arrêt</translation>
    </message>
    <message>
        <source>Replayed</source>
        <translation>Rejoué</translation>
    </message>
    <message>
        <source>Running</source>
        <translation>En marche</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Arrêté</translation>
    </message>
    <message>
        <source>The host is not on the network</source>
        <translation>L’hôte n’est pas sur le réseau</translation>
    </message>
    <message>
        <source>A replay plays this agent&apos;s part</source>
        <translation>Un rejeu joue le rôle de cet agent</translation>
    </message>
    <message>
        <source>%1 has no launcher: start qnyLauncher there, on this network</source>
        <translation>%1 n’a pas de lanceur&#xa0;: démarrez-y qnyLauncher, sur ce réseau</translation>
    </message>
    <message>
        <source>No launch line of it can be started from here</source>
        <translation>Aucune de ses lignes de lancement ne peut être démarrée d’ici</translation>
    </message>
    <message>
        <source>This agent does not take requests to stop</source>
        <translation>Cet agent n’accepte pas les demandes d’arrêt</translation>
    </message>
    <message>
        <source>&quot;%1&quot; was started but did not appear on the network.</source>
        <translation>«&#xa0;%1&#xa0;» a été démarré mais n’est pas apparu sur le réseau.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; was asked to stop but goes on running.</source>
        <translation>L’arrêt de «&#xa0;%1&#xa0;» a été demandé mais il continue de tourner.</translation>
    </message>
</context>
<context>
    <name>InstanceRow</name>
    <message>
        <source>Connect</source>
        <translation>Connecter</translation>
    </message>
    <message>
        <source>Disconnect</source>
        <translation>Déconnecter</translation>
    </message>
    <message>
        <source>Delete from the system</source>
        <translation>Supprimer du système</translation>
    </message>
    <message>
        <source>Start this agent</source>
        <translation>Démarrer cet agent</translation>
    </message>
    <message>
        <source>Enter</source>
        <translation>Entrée</translation>
    </message>
    <message>
        <source>Ask this agent to stop</source>
        <translation>Demander à cet agent de s’arrêter</translation>
    </message>
    <message>
        <source>Del</source>
        <translation>Suppr</translation>
    </message>
    <message>
        <source>It does not answer: have its machine&apos;s launcher end it</source>
        <translation>Il ne répond pas&#xa0;: le faire terminer par le lanceur de sa machine</translation>
    </message>
    <message>
        <source>End…</source>
        <translation>Terminer…</translation>
    </message>
</context>
<context>
    <name>MachineRow</name>
    <message>
        <source>This machine: the host starts its agents</source>
        <translation>Cette machine&#xa0;: l’hôte démarre ses agents</translation>
    </message>
    <message>
        <source>Its launcher starts agents there</source>
        <translation>Son lanceur y démarre les agents</translation>
    </message>
    <message>
        <source>To start agents there, start qnyLauncher on it, on this network</source>
        <translation>Pour y démarrer des agents, démarrez-y qnyLauncher, sur ce réseau</translation>
    </message>
    <message>
        <source>Launcher</source>
        <translation>Lanceur</translation>
    </message>
    <message>
        <source>No launcher</source>
        <translation>Sans lanceur</translation>
    </message>
    <message>
        <source>This machine: the host starts its agents, its launcher those for other hosts</source>
        <translation>Cette machine&#xa0;: l’hôte démarre ses agents, son lanceur ceux des autres hôtes</translation>
    </message>
</context>
<context>
    <name>Main</name>
    <message>
        <source>System</source>
        <translation>Système</translation>
    </message>
</context>
<context>
    <name>ModulePage</name>
    <message>
        <source>%1 was not started: a part that it needs is missing.</source>
        <translation>%1 n’a pas été démarré&#xa0;: un élément dont il a besoin manque.</translation>
    </message>
</context>
<context>
    <name>NetworkPopup</name>
    <message>
        <source>Network</source>
        <translation>Réseau</translation>
    </message>
    <message>
        <source>Device</source>
        <translation>Interface</translation>
    </message>
    <message>
        <source>Network device</source>
        <translation>Interface réseau</translation>
    </message>
    <message>
        <source>Port</source>
        <translation>Port</translation>
    </message>
    <message>
        <source>Discovery port</source>
        <translation>Port de découverte</translation>
    </message>
    <message>
        <source>Peers</source>
        <translation>Pairs</translation>
    </message>
    <message>
        <source>host:port,host:port</source>
        <translation>hôte:port,hôte:port</translation>
    </message>
    <message>
        <source>Peers to try besides discovery</source>
        <translation>Pairs à essayer en plus de la découverte</translation>
    </message>
    <message>
        <source>The port is a number from 1 to 65535.</source>
        <translation>Le port est un nombre de 1 à 65535.</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Fermer</translation>
    </message>
    <message>
        <source>Disconnect</source>
        <translation>Déconnecter</translation>
    </message>
    <message>
        <source>Connect</source>
        <translation>Connecter</translation>
    </message>
    <message>
        <source>Leave it as it is</source>
        <translation>Le laisser tel quel</translation>
    </message>
    <message>
        <source>Esc</source>
        <translation>Échap</translation>
    </message>
    <message>
        <source>Disconnect to change these.</source>
        <translation>Déconnectez pour les modifier.</translation>
    </message>
    <message>
        <source>Private certificate</source>
        <translation>Certificat privé</translation>
    </message>
    <message>
        <source>File, if secured</source>
        <translation>Fichier, si sécurisé</translation>
    </message>
    <message>
        <source>Private certificate of this host</source>
        <translation>Certificat privé de cet hôte</translation>
    </message>
    <message>
        <source>Public certificates</source>
        <translation>Certificats publics</translation>
    </message>
    <message>
        <source>Folder of those who are let in</source>
        <translation>Dossier de ceux qui sont admis</translation>
    </message>
    <message>
        <source>Folder of the public certificates that are let in</source>
        <translation>Dossier des certificats publics admis</translation>
    </message>
    <message>
        <source>Secured: only those whose certificates are in the folder are met, and what is started from here is secured too.</source>
        <translation>Sécurisé&#xa0;: seuls ceux dont le certificat est dans le dossier sont rencontrés, et ce qui est démarré d’ici est sécurisé aussi.</translation>
    </message>
    <message>
        <source>Open: whoever reaches this network can see and command its agents.</source>
        <translation>Ouvert&#xa0;: quiconque atteint ce réseau peut voir et commander ses agents.</translation>
    </message>
    <message>
        <source>Security needs both, the private certificate and the folder of public ones.</source>
        <translation>La sécurité demande les deux, le certificat privé et le dossier des certificats publics.</translation>
    </message>
</context>
<context>
    <name>NetworkStatus</name>
    <message>
        <source>Connected</source>
        <translation>Connecté</translation>
    </message>
    <message>
        <source>Not connected</source>
        <translation>Non connecté</translation>
    </message>
    <message>
        <source>Network settings</source>
        <translation>Réglages du réseau</translation>
    </message>
    <message>
        <source>%1, port %2</source>
        <translation>%1, port %2</translation>
    </message>
    <message>
        <source>Security on</source>
        <translation>Sécurité activée</translation>
    </message>
    <message>
        <source>Security off</source>
        <translation>Sécurité désactivée</translation>
    </message>
    <message>
        <source>Network</source>
        <translation>Réseau</translation>
    </message>
    <message>
        <source>Ctrl+,</source>
        <translation>Ctrl+,</translation>
    </message>
</context>
<context>
    <name>NoticeBar</name>
    <message>
        <source>Dismiss</source>
        <translation>Ignorer</translation>
    </message>
</context>
<context>
    <name>Question</name>
    <message>
        <source>Esc</source>
        <translation>Échap</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
</context>
<context>
    <name>RecentMenu</name>
    <message>
        <source>Empty this list</source>
        <translation>Vider cette liste</translation>
    </message>
</context>
<context>
    <name>SampleDocument</name>
    <message>
        <source>The sample document could not be written to %1 (%2). Name a document of your own on the command line.</source>
        <translation>Le document d’exemple n’a pas pu être écrit dans %1 (%2). Indiquez un document à vous sur la ligne de commande.</translation>
    </message>
</context>
<context>
    <name>SamplePlant</name>
    <message>
        <source>The sample plant cannot start: %1 is missing. Build or install the sample agents.</source>
        <translation>L’installation d’exemple ne peut pas démarrer&#xa0;: il manque %1. Compilez ou installez les agents d’exemple.</translation>
    </message>
    <message>
        <source>The journals&apos; folder %1 cannot be made.</source>
        <translation>Le dossier des journaux %1 ne peut pas être créé.</translation>
    </message>
    <message>
        <source>%1 does not start: %2.</source>
        <translation>%1 ne démarre pas&#xa0;: %2.</translation>
    </message>
    <message>
        <source>it ended with status %1</source>
        <translation>il s’est terminé avec le code %1</translation>
    </message>
    <message>
        <source>it crashed</source>
        <translation>il s’est arrêté brutalement</translation>
    </message>
</context>
<context>
    <name>Sidebar</name>
    <message>
        <source>System</source>
        <translation>Système</translation>
    </message>
    <message>
        <source>Pages</source>
        <translation>Pages</translation>
    </message>
    <message>
        <source>Ctrl+%1</source>
        <translation>Ctrl+%1</translation>
    </message>
</context>
<context>
    <name>SidebarEntry</name>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
</context>
<context>
    <name>SystemFooter</name>
    <message>
        <source>On the network, in no view</source>
        <translation>Sur le réseau, dans aucune vue</translation>
    </message>
    <message>
        <source>Machines</source>
        <translation>Machines</translation>
    </message>
</context>
<context>
    <name>SystemPage</name>
    <message numerus="yes">
        <source>%n instance(s)</source>
        <translation>
            <numerusform>%Ln instance</numerusform>
            <numerusform>%Ln instances</numerusform>
        </translation>
    </message>
    <message>
        <source>Stop sample plant</source>
        <translation>Arrêter l’exemple</translation>
    </message>
    <message>
        <source>Start sample plant</source>
        <translation>Démarrer l’exemple</translation>
    </message>
    <message>
        <source>The host is not on the network</source>
        <translation>L’hôte n’est pas sur le réseau</translation>
    </message>
    <message>
        <source>Add</source>
        <translation>Ajouter</translation>
    </message>
    <message>
        <source>End the sample agents</source>
        <translation>Arrêter les agents d’exemple</translation>
    </message>
    <message>
        <source>Start a small plant of sample agents</source>
        <translation>Démarrer une petite installation d’agents d’exemple</translation>
    </message>
    <message>
        <source>Add an agent to this system</source>
        <translation>Ajouter un agent à ce système</translation>
    </message>
    <message>
        <source>Ins</source>
        <translation>Inser</translation>
    </message>
    <message>
        <source>Agents of the system</source>
        <translation>Agents du système</translation>
    </message>
</context>
<context>
    <name>ThemeChooser</name>
    <message>
        <source>Theme of the desktop</source>
        <translation>Thème du bureau</translation>
    </message>
    <message>
        <source>Light theme</source>
        <translation>Thème clair</translation>
    </message>
    <message>
        <source>Dark theme</source>
        <translation>Thème sombre</translation>
    </message>
    <message>
        <source>Theme</source>
        <translation>Thème</translation>
    </message>
</context>
<context>
    <name>TopBar</name>
    <message>
        <source>edited</source>
        <translation>modifié</translation>
    </message>
    <message>
        <source>New</source>
        <translation>Nouveau</translation>
    </message>
    <message>
        <source>Open…</source>
        <translation>Ouvrir…</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Sauvegarder</translation>
    </message>
    <message>
        <source>Save as…</source>
        <translation>Sauvegarder sous…</translation>
    </message>
    <message>
        <source>Begin a new document</source>
        <translation>Commencer un nouveau document</translation>
    </message>
    <message>
        <source>Ctrl+N</source>
        <translation>Ctrl+N</translation>
    </message>
    <message>
        <source>Open another document</source>
        <translation>Ouvrir un autre document</translation>
    </message>
    <message>
        <source>Ctrl+O</source>
        <translation>Ctrl+O</translation>
    </message>
    <message>
        <source>Recent</source>
        <translation>Récents</translation>
    </message>
    <message>
        <source>Open one of the last documents</source>
        <translation>Ouvrir un des derniers documents</translation>
    </message>
    <message>
        <source>Ctrl+R</source>
        <translation>Ctrl+R</translation>
    </message>
    <message>
        <source>No document was opened or saved yet</source>
        <translation>Aucun document n’a encore été ouvert ni sauvegardé</translation>
    </message>
    <message>
        <source>Save this document</source>
        <translation>Sauvegarder ce document</translation>
    </message>
    <message>
        <source>Ctrl+S</source>
        <translation>Ctrl+S</translation>
    </message>
    <message>
        <source>Save this document under another name</source>
        <translation>Sauvegarder ce document sous un autre nom</translation>
    </message>
    <message>
        <source>Ctrl+Shift+S</source>
        <translation>Ctrl+Maj+S</translation>
    </message>
</context>
<context>
    <name>UnplacedRow</name>
    <message>
        <source>this machine</source>
        <translation>cette machine</translation>
    </message>
    <message>
        <source>Replayed</source>
        <translation>Rejoué</translation>
    </message>
    <message>
        <source>Running</source>
        <translation>En marche</translation>
    </message>
    <message>
        <source>Place</source>
        <translation>Placer</translation>
    </message>
    <message>
        <source>Add it to the system under this name</source>
        <translation>L’ajouter au système sous ce nom</translation>
    </message>
</context>
</TS>
